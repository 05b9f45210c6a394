#include "grab/commands/grabimage.h"

#include "kernel/gui/zprogressdialog.h"
#include "kernel/workers/overseer.h"
#include "scene/drawing/scenedrawer.h"
#include "tests/grab/scenes.h"
#include "tests/support/drawing.h"
#include "tests/support/logcapture.h"
#include "tests/support/pictures.h"

#include <QThread>

using namespace tov::test;
using tov::commands::grab::GrabImage;
using tov::math::Matrix4;
using tov::scene::SceneDrawer;
using tov::scene::Viewer;

namespace {

const double HalfHeight = 0.4274205123390469;

class SaveImageTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Viewer::getInstance()->initialize()); }
    void TearDown() override { useScene(nullptr); }

    static QImage rendered(int width, int height, const Matrix4& transform)
    {
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(0x01020304);
        GrabImage command(&image, &transform, nullptr);
        command.saveImage(&image, transform);
        return image;
    }

    /// The same view in one framebuffer object, drawn directly with the drawer.
    static QImage whole(int width, int height, const Matrix4& transform)
    {
        QColor background = SceneDrawer(Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
        background.setAlpha(0);
        const double right = HalfHeight * width / height;
        return drawn(width, height, -right, right, -HalfHeight, HalfHeight, transform, 3, 7, {}, background);
    }
};

} // namespace

namespace {

/// Loads a real model and returns its view from that distance and direction. Lit by the headlight, under which every
/// fold has the contrast of an edge.
Matrix4 useBunny(double distance, double azimuth, double elevation)
{
    tov::scene::SceneLook look;
    look.light = tov::scene::SceneLook::Light::Headlight;
    SceneDrawer::setLook(look);
    QString error;
    auto* tree = tov::scene::SceneImport::readFile(QStringLiteral("/usr/share/glmark2/models/bunny.obj"), &error);
    EXPECT_TRUE(tree) << error.toStdString();
    useScene(tree);
    if (!tree)
        return Matrix4::identity();
    const auto box = tov::scene::visibleBox(tree);
    const auto centre = tov::scene::centreOf(box);
    Matrix4 toCentre = Matrix4::identity();
    for (unsigned int i = 0; i < 3; ++i)
        toCentre(i, 3) = -centre[i];
    return viewFrom(distance, azimuth, elevation, tov::scene::scalingFor(box)) * toCentre;
}

/// True at edges in the picture, such as the outline of one part of the model in front of another.
bool onEdge(const QImage& image, int x, int y)
{
    const QRgb own = image.pixel(x, y);
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            if (!image.valid(x + dx, y + dy))
                continue;
            const QRgb other = image.pixel(x + dx, y + dy);
            if (std::abs(qRed(own) - qRed(other)) > 8 || std::abs(qGreen(own) - qGreen(other)) > 8 ||
                std::abs(qBlue(own) - qBlue(other)) > 8)
                return true;
        }
    return false;
}

/// Compares a picture made of tiles with the same view drawn at once. Returns the difference in words, empty if the
/// picture passes: away from outlines and edges no pixel differs by more than 2 of 255, at most one in 1000 pixels
/// differs at all, and pixels at the borders of tiles do not differ more often than others.
std::string tilingDifference(const QImage& tiled, const QImage& single)
{
    if (tiled.isNull() || tiled.size() != single.size())
        return "another size";
    const int width = tiled.width(), height = tiled.height();
    std::vector<bool> mask(std::size_t(width) * std::size_t(height));
    qint64 drawn = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool covered = qAlpha(single.pixel(x, y)) != 0;
            mask[std::size_t(y) * std::size_t(width) + std::size_t(x)] = covered;
            drawn += covered;
        }
    if (drawn == 0)
        return "nothing was drawn";
    qint64 different = 0, large = 0, atBorders = 0, borderPixels = 0;
    const int firstRow = height - height / 512 * 512; // the short row is at the top
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const QRgb a = tiled.pixel(x, y), b = single.pixel(x, y);
            const int fromColumn = x % 512, fromRow = ((y - firstRow) % 512 + 512) % 512;
            const bool border = fromColumn < 2 || fromColumn > 509 || fromRow < 2 || fromRow > 509;
            borderPixels += border;
            if (a == b)
                continue;
            ++different;
            atBorders += border;
            const int most = std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                       std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
            large += most > 2 && !onOutline(mask, width, height, x, y) && !onEdge(single, x, y);
        }
    if (large > 0)
        return std::to_string(large) + " pixels differ by more than 2 of 255 away from the outline";
    if (different > qint64(width) * height / 1000)
        return std::to_string(different) + " pixels differ";
    // With some tolerance for chance.
    const double elsewhere = double(different - atBorders) / double(qint64(width) * height - borderPixels);
    if (double(atBorders) > elsewhere * double(borderPixels) * 2 + 8)
        return std::to_string(atBorders) + " of " + std::to_string(different) + " pixels that differ are at borders";
    return {};
}

} // namespace

TEST_F(SaveImageTest, WithoutASceneNothingIsDrawnOrLogged)
{
    LogCapture log;
    const QImage image = rendered(30, 20, Matrix4::identity());
    EXPECT_EQ(image.pixel(3, 3), 0x01020304u);
    EXPECT_TRUE(log.records().empty()) << log.text();
}

TEST_F(SaveImageTest, BackgroundIsTransparentAndTheSolidOpaqueAndLit)
{
    useScene(makeBox(1));
    const QImage image = rendered(400, 300, viewFrom(6, 0, 0));
    const QRgb corner = image.pixel(0, 0);
    EXPECT_EQ(qAlpha(corner), 0);
    const QColor background = SceneDrawer(Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
    EXPECT_EQ(qRed(corner), background.red());
    EXPECT_EQ(qGreen(corner), background.green());
    EXPECT_EQ(qBlue(corner), background.blue());
    const QRgb middle = image.pixel(200, 150);
    EXPECT_EQ(qAlpha(middle), 255);
    EXPECT_GT(qRed(middle), 2 * qGreen(middle)) << "the box is red";
    EXPECT_GT(qRed(middle), 60);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_TRUE(qAlpha(image.pixel(x, y)) == 0 || qAlpha(image.pixel(x, y)) == 255);
}

TEST_F(SaveImageTest, TheSilhouetteOfABoxIsWhereItBelongs)
{
    useScene(makeBox(1));
    const Matrix4 views[] = {viewFrom(6, 0, 0), viewFrom(5, 0.6, 0.4), viewFrom(4, -2.1, -0.7, 1.2)};
    for (const Matrix4& view : views)
        for (const QSize size : {QSize(1100, 700), QSize(513, 1025)}) {
            const QImage image = rendered(size.width(), size.height(), view);
            EXPECT_EQ(silhouetteDifference(image, silhouette(view, size.width(), size.height(), HalfHeight)), "");
        }
}

TEST_F(SaveImageTest, TheSilhouetteOfARealModelIsWhereItBelongs)
{
    const Matrix4 view = useBunny(2600, 0.5, 0.2);
    const QImage image = rendered(1200, 900, view);
    EXPECT_EQ(silhouetteDifference(image, silhouette(view, 1200, 900, HalfHeight)), "");
}

// The comparisons above must detect wrong pictures.

TEST_F(SaveImageTest, ASilhouetteFromAMovedCameraIsDetected)
{
    useScene(makeBox(1));
    const int width = 1100, height = 700;
    const auto mask = silhouette(viewFrom(6, 0.3, 0.2), width, height, HalfHeight);
    ASSERT_EQ(silhouetteDifference(rendered(width, height, viewFrom(6, 0.3, 0.2)), mask), "");
    // Turned by half a degree, closer by one percent, moved by three pixels.
    EXPECT_NE(silhouetteDifference(rendered(width, height, viewFrom(6, 0.31, 0.2)), mask), "");
    EXPECT_NE(silhouetteDifference(rendered(width, height, viewFrom(6, 0.3, 0.21)), mask), "");
    EXPECT_NE(silhouetteDifference(rendered(width, height, viewFrom(5.94, 0.3, 0.2)), mask), "");
    Matrix4 aside = viewFrom(6, 0.3, 0.2);
    aside(0, 3) += 3 * 2 * HalfHeight * 6 / height;
    EXPECT_NE(silhouetteDifference(rendered(width, height, aside), mask), "");
}

TEST_F(SaveImageTest, AnObjectMissingInASilhouetteIsDetected)
{
    auto* root = makeBox(1);
    tov::scene::Geometry small;
    small.positions = {2.0f, 1.0f, 0.0f, 2.06f, 1.0f, 0.0f, 2.0f, 1.06f, 0.0f};
    small.indices = {0, 1, 2};
    auto* object = new tov::scene::GeometryElement(QStringLiteral("small"), std::move(small));
    root->addChild(object);
    useScene(root);
    const Matrix4 view = viewFrom(6, 0.3, 0.2);
    const auto mask = silhouette(view, 1100, 700, HalfHeight);
    ASSERT_EQ(silhouetteDifference(rendered(1100, 700, view), mask), "");
    object->setVisible(false);
    EXPECT_NE(silhouetteDifference(rendered(1100, 700, view), mask), "");
}

TEST_F(SaveImageTest, ABlankSilhouetteIsDetected)
{
    useScene(makeBox(1));
    const auto mask = silhouette(viewFrom(6, 0.3, 0.2), 400, 300, HalfHeight);
    EXPECT_NE(silhouetteDifference(rendered(400, 300, viewFrom(-6, 0.3, 0.2)), mask), "") << "behind the camera";
    QImage covered(400, 300, QImage::Format_ARGB32);
    covered.fill(Qt::red);
    EXPECT_NE(silhouetteDifference(covered, mask), "");
    EXPECT_NE(silhouetteDifference(QImage(), mask), "");
    // A blank picture fails even if nothing is expected.
    QImage nothing(400, 300, QImage::Format_ARGB32);
    nothing.fill(0);
    EXPECT_NE(silhouetteDifference(nothing, std::vector<bool>(400 * 300, false)), "");
}

TEST_F(SaveImageTest, TilesMeetWithoutSeams)
{
    const Matrix4 view = useBunny(2200, 0.3, 0.2);
    const int width = 1800, height = 1300;
    EXPECT_EQ(tilingDifference(rendered(width, height, view), whole(width, height, view)), "");
}

TEST_F(SaveImageTest, WrongTilesAreDetected)
{
    const int width = 1100, height = 700;
    const Matrix4 view = useBunny(2200, 0.3, 0.2);
    const QImage single = whole(width, height, view);
    const QImage tiled = rendered(width, height, view);
    ASSERT_EQ(tilingDifference(tiled, single), "");
    EXPECT_NE(tilingDifference(rendered(width, height, useBunny(2200, 0.305, 0.2)), single), "") << "a moved camera";
    EXPECT_NE(tilingDifference(rendered(width, height, useBunny(2222, 0.3, 0.2)), single), "") << "farther away";
    // A tile one pixel too far to the right.
    QImage seam = tiled;
    for (int y = 188; y < height; ++y)
        for (int x = 1023; x > 512; --x)
            seam.setPixel(x, y, tiled.pixel(x - 1, y));
    EXPECT_NE(tilingDifference(seam, single), "");
    // The border of a tile is missing.
    seam = tiled;
    for (int y = 188; y < height; ++y)
        seam.setPixel(512, y, tiled.pixel(0, 0));
    EXPECT_NE(tilingDifference(seam, single), "");
    // A tile is missing, and the picture is blank.
    QImage missing = tiled;
    for (int y = 188; y < height; ++y)
        for (int x = 512; x < 1024; ++x)
            missing.setPixel(x, y, tiled.pixel(0, 0));
    EXPECT_NE(tilingDifference(missing, single), "");
    QImage blank(width, height, QImage::Format_ARGB32);
    blank.fill(tiled.pixel(0, 0));
    EXPECT_NE(tilingDifference(blank, single), "");
    EXPECT_NE(tilingDifference(blank, blank), "");
}

TEST_F(SaveImageTest, OddSizesAreFilledCompletely)
{
    useScene(makeBox(1500)); // the camera is inside: every pixel is covered
    for (const QSize size : {QSize(1, 1), QSize(512, 512), QSize(513, 511), QSize(1025, 2), QSize(2, 1025)}) {
        const QImage image = rendered(size.width(), size.height(), viewFrom(6, 0, 0));
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                ASSERT_EQ(qAlpha(image.pixel(x, y)), 255)
                    << size.width() << "x" << size.height() << " at " << x << "," << y;
    }
}

TEST_F(SaveImageTest, ProgressIsSetBeforeEachTileAndNeverShows100)
{
    useScene(makeBox(1));
    std::vector<int> values;
    QString title;
    bool finished = false;
    tov::util::ZProgressDialog::setPresenter([&](const tov::util::ZProgressDialog::Update& update) {
        title = update.title;
        finished = update.finished;
        if (!update.finished)
            values.push_back(update.percent);
    });
    rendered(2048, 1024, viewFrom(6, 0, 0)); // 8 tiles
    tov::main::Overseer::getInstance()->processWorkers();
    tov::util::ZProgressDialog::setPresenter({});
    EXPECT_EQ(title, "Building Picture");
    EXPECT_TRUE(finished);
    // On the application thread every value is presented at once.
    EXPECT_EQ(values, (std::vector<int>{-1, 0, 12, 25, 37, 50, 62, 75, 87}));
}

TEST_F(SaveImageTest, WorksOnAnyThread)
{
    useScene(makeBox(1));
    const Matrix4 view = viewFrom(6, 0.3, 0.2);
    const QImage here = rendered(600, 400, view);
    QImage there;
    QThread* thread = QThread::create([&] { there = rendered(600, 400, view); });
    thread->start();
    EXPECT_TRUE(processUntil([&] { return thread->isFinished(); }));
    delete thread;
    EXPECT_EQ(here, there);
}
