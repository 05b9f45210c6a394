#include "grab/commands/grabimage.h"

#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/overseer.h"
#include "scene/scenedrawer.h"
#include "scene/sharedcontext.h"
#include "tests/grab/scenes.h"
#include "tests/support/logcapture.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QThread>

#include <GL/gl.h>

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

    /// The same view in one framebuffer object, straight through the drawer.
    static QImage whole(int width, int height, const Matrix4& transform)
    {
        QOpenGLContext context;
        context.setShareContext(tov::scene::_GlobalContext()->glContext());
        EXPECT_TRUE(context.create());
        QOffscreenSurface surface;
        surface.create();
        EXPECT_TRUE(context.makeCurrent(&surface));
        QImage result;
        {
            QOpenGLFramebufferObject fbo(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                         GL_RGBA8);
            EXPECT_TRUE(fbo.bind());
            SceneDrawer drawer(Viewer::getInstance()->getGlobalScene());
            const QColor background = drawer.getBackgroundColor();
            glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0);
            glShadeModel(GL_SMOOTH);
            glEnable(GL_DEPTH_TEST);
            glEnable(GL_LIGHTING);
            glEnable(GL_COLOR_MATERIAL);
            drawer.resize(width, height);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            glMatrixMode(GL_PROJECTION);
            glLoadIdentity();
            const double right = HalfHeight * width / height;
            glFrustum(-right, right, -HalfHeight, HalfHeight, 1, 10000);
            glMatrixMode(GL_MODELVIEW);
            glLoadIdentity();
            glEnable(GL_LIGHT0);
            drawer.glDraw(Viewer::getInstance()->getGlobalScene()->getRootNode(), nullptr, transform, 0.0, 3, 7);
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            result = fbo.toImage();
        }
        context.doneCurrent();
        return result;
    }
};

} // namespace

namespace {

/// True where the picture itself jumps: the outline of one part of the model before another.
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
            const int different = expectSilhouette(image, silhouette(view, size.width(), size.height(), HalfHeight));
            EXPECT_LE(different, size.width() * size.height() / 1000);
        }
}

TEST_F(SaveImageTest, TheSilhouetteOfARealModelIsWhereItBelongs)
{
    const QString model = QStringLiteral("/usr/share/glmark2/models/bunny.obj");
    QString error;
    auto* tree = tov::scene::SceneImport::readFile(model, &error);
    ASSERT_TRUE(tree) << error.toStdString();
    useScene(tree);
    const auto box = tov::scene::visibleBox(tree);
    const auto centre = tov::scene::centreOf(box);
    Matrix4 toCentre = Matrix4::identity();
    for (unsigned int i = 0; i < 3; ++i)
        toCentre(i, 3) = -centre[i];
    const double scale = tov::scene::scalingFor(box);
    const Matrix4 view = viewFrom(2600, 0.5, 0.2, scale) * toCentre;
    const QImage image = rendered(1200, 900, view);
    const int different = expectSilhouette(image, silhouette(view, 1200, 900, HalfHeight));
    EXPECT_LE(different, 1200 * 900 / 1000);
}

TEST_F(SaveImageTest, ComparisonsFindAMovedCamera)
{
    // The rules above would be worth nothing if they let a shifted picture pass.
    useScene(makeBox(1));
    const QImage image = rendered(400, 300, viewFrom(6, 0, 0));
    const auto mask = silhouette(viewFrom(6, 0.05, 0), 400, 300, HalfHeight);
    int different = 0;
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 400; ++x)
            different += (qAlpha(image.pixel(x, y)) != 0) != mask[std::size_t(y) * 400 + std::size_t(x)];
    EXPECT_GT(different, 400 * 300 / 1000);
}

TEST_F(SaveImageTest, TilesMeetWithoutSeams)
{
    QString error;
    auto* tree = tov::scene::SceneImport::readFile(QStringLiteral("/usr/share/glmark2/models/bunny.obj"), &error);
    ASSERT_TRUE(tree) << error.toStdString();
    useScene(tree);
    const auto box = tov::scene::visibleBox(tree);
    const auto centre = tov::scene::centreOf(box);
    Matrix4 toCentre = Matrix4::identity();
    for (unsigned int i = 0; i < 3; ++i)
        toCentre(i, 3) = -centre[i];
    const int width = 1800, height = 1300;
    const Matrix4 view = viewFrom(2200, 0.3, 0.2, tov::scene::scalingFor(box)) * toCentre;
    const QImage tiled = rendered(width, height, view);
    const QImage single = whole(width, height, view);
    ASSERT_EQ(single.size(), tiled.size());
    std::vector<bool> mask(std::size_t(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            mask[std::size_t(y) * width + std::size_t(x)] = qAlpha(single.pixel(x, y)) != 0;
    qint64 different = 0, large = 0, atBorders = 0, borderPixels = 0;
    const int firstRow = height - height / 512 * 512; // the short row stands on top
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
    EXPECT_EQ(large, 0) << "no more than 2 of 255 away from the outline";
    EXPECT_LT(different, qint64(width) * height / 1000);
    // Not more frequent along the borders than elsewhere, but for chance.
    const double elsewhere = double(different - atBorders) / double(qint64(width) * height - borderPixels);
    EXPECT_LE(double(atBorders), elsewhere * double(borderPixels) * 2 + 8);
}

TEST_F(SaveImageTest, OddSizesAreFilledWholly)
{
    useScene(makeBox(1500)); // the camera is inside: every pixel is covered
    for (const QSize size : {QSize(1, 1), QSize(512, 512), QSize(513, 511), QSize(1025, 2), QSize(2, 1025)}) {
        const QImage image = rendered(size.width(), size.height(), viewFrom(6, 0, 0));
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                ASSERT_EQ(qAlpha(image.pixel(x, y)), 255) << size.width() << "x" << size.height() << " at " << x << "," << y;
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
    // On the application thread itself every value is presented at once.
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
