#include "scene/drawing/scenedrawer.h"
#include "scene/sceneview.h"
#include "tests/scene/drawfixture.h"
#include "tests/scene/shapes.h"

#include <cmath>
#include <random>

using namespace tov::scene;
using namespace tov::test;

namespace {

constexpr int Size = 128;

class DrawingTest : public SceneTest
{
protected:
    void TearDown() override
    {
        SceneDrawer::setLook(SceneLook());
        SceneTest::TearDown();
    }
    static void setLight(SceneLook::Light light, int samples = 0)
    {
        SceneLook look;
        look.light = light;
        look.samples = samples;
        SceneDrawer::setLook(look);
    }
    /// The square fills the picture.
    QImage flat(SceneElement* root, const QColor& background = QColor(0, 0, 0, 0))
    {
        scene->setRootNode(root);
        return drawn(Size, Size, -0.5, 0.5, -0.5, 0.5, at(2), 3, 7, {}, background);
    }
    static void expectColor(QRgb pixel, double red, double green, double blue, const char* what)
    {
        EXPECT_NEAR(qRed(pixel), red, 1) << what;
        EXPECT_NEAR(qGreen(pixel), green, 1) << what;
        EXPECT_NEAR(qBlue(pixel), blue, 1) << what;
    }
};

/// Four texels: red, green, blue, and grey with half the alpha.
std::shared_ptr<const Image> fourTexels()
{
    return image(2, 2, {250, 10, 20, 255, 30, 200, 40, 255, 50, 60, 180, 255, 120, 120, 120, 128});
}

Material unlitTexture(const std::shared_ptr<const Image>& texels)
{
    Material material;
    material.baseColorTexture.image = texels;
    material.baseColorTexture.minFilter = Texture::Filter::Nearest;
    material.baseColorTexture.magFilter = Texture::Filter::Nearest;
    return material;
}

/// Counts the pixels by the largest difference of a channel.
void addDifferences(const QImage& a, const QImage& b, std::array<int, 256>& counts)
{
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            ++counts[std::size_t(std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                           std::abs(qBlue(p) - qBlue(q)), std::abs(qAlpha(p) - qAlpha(q))}))];
        }
}

QRgb texel(const QImage& picture, int column, int row)
{
    return picture.pixel(Size / 4 + column * Size / 2, Size / 4 + row * Size / 2);
}

} // namespace

TEST_F(DrawingTest, WithoutLightTexelsAreExact)
{
    setLight(SceneLook::Light::None);
    const QImage picture = flat(rootOf({element(square(), unlitTexture(fourTexels()))}));
    expectColor(texel(picture, 0, 0), 250, 10, 20, "top left");
    expectColor(texel(picture, 1, 0), 30, 200, 40, "top right");
    expectColor(texel(picture, 0, 1), 50, 60, 180, "bottom left");
    expectColor(texel(picture, 1, 1), 120, 120, 120, "bottom right");
    EXPECT_EQ(qAlpha(texel(picture, 1, 1)), 255) << "alpha is ignored by opaque materials";
}

TEST_F(DrawingTest, UnlitMaterialsAreExactInAnyLight)
{
    Material material = unlitTexture(fourTexels());
    material.unlit = true;
    for (const auto light : {SceneLook::Light::Studio, SceneLook::Light::Headlight}) {
        setLight(light);
        expectColor(texel(flat(rootOf({element(square(), material)})), 1, 0), 30, 200, 40, "unlit");
    }
}

TEST_F(DrawingTest, FactorAndVertexColorMultiplyInLinearLight)
{
    setLight(SceneLook::Light::None);
    Material material = unlitTexture(fourTexels());
    material.baseColor = {0.5f, 0.25f, 0.75f, 1};
    Geometry geometry = square();
    for (int i = 0; i < 4; ++i)
        geometry.colors.insert(geometry.colors.end(), {32768, 65535, 16384, 65535});
    const auto expected = [](int encoded, double factor) {
        return 255 * double(srgbFromLinear(float(linearFromSrgb(float(encoded) / 255) * factor)));
    };
    expectColor(texel(flat(rootOf({element(std::move(geometry), material)})), 0, 0), expected(250, 0.25),
                expected(10, 0.25), expected(20, 0.1875), "product");
}

TEST_F(DrawingTest, EachTextureHasItsSetAndTransform)
{
    setLight(SceneLook::Light::None);
    Material material = unlitTexture(fourTexels());
    Geometry geometry = square();
    // The second set is flipped horizontally.
    geometry.uv[1] = {1, 1, 0, 1, 0, 0, 1, 0};
    material.baseColorTexture.uvSet = 1;
    expectColor(texel(flat(rootOf({element(geometry, material)})), 0, 0), 30, 200, 40, "second set");
    material.baseColorTexture.uvSet = 0;
    material.baseColorTexture.transform = {1, 0, 0.5f, 0, 1, 0.5f};
    expectColor(texel(flat(rootOf({element(geometry, material)})), 0, 0), 120, 120, 120, "moved and repeated");
    material.baseColorTexture.wrapU = material.baseColorTexture.wrapV = Texture::Wrap::ClampToEdge;
    material.baseColorTexture.transform = {1, 0, 2, 0, 1, 0};
    expectColor(texel(flat(rootOf({element(geometry, material)})), 0, 0), 30, 200, 40, "clamped");
}

TEST_F(DrawingTest, MasksCutAndBlendsMix)
{
    setLight(SceneLook::Light::None);
    Material material = unlitTexture(fourTexels());
    material.alphaMode = Material::AlphaMode::Mask;
    material.alphaCutoff = 0.6f;
    QImage picture = flat(rootOf({element(square(), material)}));
    EXPECT_EQ(qAlpha(texel(picture, 1, 1)), 0);
    EXPECT_EQ(qAlpha(texel(picture, 0, 0)), 255);
    material.alphaMode = Material::AlphaMode::Blend;
    picture = flat(rootOf({element(square(), material)}), QColor(0, 100, 200));
    const double a = 128 / 255.0;
    expectColor(texel(picture, 1, 1), 120 * a, 120 * a + 100 * (1 - a), 120 * a + 200 * (1 - a), "over the background");
    expectColor(texel(picture, 0, 0), 250, 10, 20, "opaque texel");
}

TEST_F(DrawingTest, BlendedPartsAreSortedByDepthWhateverTheirOrder)
{
    setLight(SceneLook::Light::None);
    const auto sheet = [](const QColor& color, float z) {
        Geometry geometry = square(z);
        geometry.material = makeMaterial(color);
        return new GeometryElement(QStringLiteral("sheet"), std::move(geometry));
    };
    const QColor red(255, 0, 0, 102), green(0, 255, 0, 153), blue(0, 0, 255, 204);
    for (const bool reversed : {false, true}) {
        std::vector<SceneElement*> sheets = {sheet(red, 0.2f), sheet(green, 0), sheet(blue, -0.2f)};
        if (reversed)
            std::swap(sheets[0], sheets[2]);
        const QRgb pixel = flat(rootOf(sheets), QColor(0, 0, 0)).pixel(Size / 2, Size / 2);
        // Blue over black, green over that, red on top.
        expectColor(pixel, 0.4 * 255, 0.6 * 255 * 0.6, 0.8 * 255 * 0.4 * 0.6, reversed ? "reversed" : "in order");
    }
}

TEST_F(DrawingTest, GlassWithinGlassShowsFourSides)
{
    setLight(SceneLook::Light::None);
    const auto ball = [](const QColor& color, double size) {
        Geometry geometry = sphere(24);
        geometry.material = makeMaterial(color);
        auto* result = new GeometryElement(QStringLiteral("ball"), std::move(geometry));
        Matrix4 scale = Matrix4::identity();
        for (unsigned int i = 0; i < 3; ++i)
            scale(i, i) = size;
        result->setTransform(scale);
        return result;
    };
    for (const bool reversed : {false, true}) {
        std::vector<SceneElement*> balls = {ball(QColor(255, 0, 0, 128), 0.6), ball(QColor(0, 0, 255, 128), 0.3)};
        if (reversed)
            std::swap(balls[0], balls[1]);
        const QRgb pixel = flat(rootOf(balls), QColor(0, 0, 0)).pixel(Size / 2, Size / 2);
        double red = 0, blue = 0;
        const double a = 128 / 255.0;
        for (const bool isRed : {true, false, false, true}) {
            red = red * (1 - a) + (isRed ? 255 * a : 0);
            blue = blue * (1 - a) + (isRed ? 0 : 255 * a);
        }
        EXPECT_NEAR(qRed(pixel), red, 2) << reversed;
        EXPECT_NEAR(qBlue(pixel), blue, 2) << reversed;
    }
}

TEST_F(DrawingTest, EveryLookDrawsADifferentPicture)
{
    std::vector<int> counts;
    for (const auto show : {SceneLook::Show::Surface, SceneLook::Show::SurfaceWithEdges, SceneLook::Show::Wireframe,
                            SceneLook::Show::Points}) {
        SceneLook look;
        look.show = show;
        look.lineWidth = look.pointSize = 1.0 / Size;
        SceneDrawer::setLook(look);
        counts.push_back(covered(flat(rootOf({element(sphere(8), Material())}))));
    }
    EXPECT_GE(counts[1], counts[0]);
    EXPECT_LT(counts[2], counts[0]);
    EXPECT_LT(counts[3], counts[2]);
    EXPECT_GT(counts[3], 30);
}

TEST_F(DrawingTest, ManySmallPartsLookTheSameAsAlone)
{
    setLight(SceneLook::Light::Studio);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(-0.6, 0.6);
    const auto material = makeMaterial(QColor(200, 120, 60));
    enum class Materials
    {
        One,
        Coloured, ///< one for each part, that differ in colour
        Apart,    ///< as coloured, and too different to be merged
    };
    const auto makeRoot = [&](Materials materials, bool isColorful) {
        random.seed(7);
        std::vector<SceneElement*> parts;
        for (int i = 0; i < 60; ++i) {
            Geometry geometry = sphere(4);
            auto own = std::make_shared<Material>(*material);
            if (isColorful)
                own->baseColor = {float(i % 7) / 7, float(i % 5) / 5, float(i % 3) / 3, 1};
            own->metallic = materials == Materials::Apart ? 1e-6f * float(i) : 0.0f;
            geometry.material = materials == Materials::One ? material : own;
            auto* part = new GeometryElement(QStringLiteral("part"), std::move(geometry));
            Matrix4 transform = Matrix4::identity();
            for (unsigned int axis = 0; axis < 3; ++axis) {
                transform(axis, axis) = 0.1;
                transform(axis, 3) = place(random);
            }
            if (i % 3 == 0)
                transform(0, 0) *= -1;
            part->setTransform(transform);
            parts.push_back(part);
        }
        return rootOf(parts);
    };
    for (const bool isColorful : {false, true}) {
        const QImage merged = flat(makeRoot(isColorful ? Materials::Coloured : Materials::One, isColorful));
        const QImage alone = flat(makeRoot(Materials::Apart, isColorful));
        int different = 0;
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x)
                different += std::abs(qGreen(merged.pixel(x, y)) - qGreen(alone.pixel(x, y))) > 2;
        EXPECT_GT(covered(merged), 1000);
        EXPECT_LE(different, Size * Size / 1000) << "edges may differ by rounding";
    }
}

TEST_F(DrawingTest, ShapesFarFromTheOriginDoNotChange)
{
    setLight(SceneLook::Light::Studio);
    const QImage near = flat(rootOf({element(sphere(32), Material())}));
    Geometry geometry = sphere(32);
    geometry.origin = {3.5e6, -2e6, 1e6};
    scene->setRootNode(rootOf({element(std::move(geometry), Material())}));
    const QImage far = drawn(Size, Size, -0.5, 0.5, -0.5, 0.5, at(2) * translation({-3.5e6, 2e6, -1e6}));
    EXPECT_EQ(near, far);
}

TEST_F(DrawingTest, SelfIntersectingMeshesLookLikeTheirTriangles)
{
    setLight(SceneLook::Light::Headlight);
    std::mt19937 random(3);
    std::uniform_real_distribution<float> place(-0.5f, 0.5f);
    for (int round = 0; round < 8; ++round) {
        // A closed mesh of random vertices: with shared vertices, and without.
        Geometry closed = sphere(6);
        for (float& value : closed.positions)
            value = place(random);
        Geometry apart;
        for (const std::uint32_t index : closed.indices) {
            apart.indices.push_back(std::uint32_t(apart.indices.size()));
            for (std::size_t axis = 0; axis < 3; ++axis) {
                apart.positions.push_back(closed.positions[3 * std::size_t(index) + axis]);
                apart.normals.push_back(closed.normals[3 * std::size_t(index) + axis]);
            }
        }
        EXPECT_EQ(flat(rootOf({element(std::move(closed), Material())})),
                  flat(rootOf({element(std::move(apart), Material())})))
            << round;
    }
}

TEST_F(DrawingTest, SelfIntersectingMeshesShowTheirNearestTriangles)
{
    setLight(SceneLook::Light::None);
    std::mt19937 random(5);
    std::uniform_real_distribution<float> place(-0.5f, 0.5f);
    std::uniform_int_distribution<int> colour(0, 65535);
    // A closed mesh of random vertices, with a colour for each triangle. In the second mesh every triangle also faces
    // the other way.
    const Geometry shape = sphere(6);
    std::vector<float> places(shape.positions.size());
    std::generate(places.begin(), places.end(), [&] { return place(random); });
    Geometry once, twice;
    for (std::size_t first = 0; first < shape.indices.size(); first += 3) {
        const std::array<std::uint16_t, 3> own = {std::uint16_t(colour(random)), std::uint16_t(colour(random)),
                                                  std::uint16_t(colour(random))};
        const auto add = [&](Geometry& mesh, std::size_t corner) {
            mesh.indices.push_back(std::uint32_t(mesh.indices.size()));
            const float* from = &places[3 * std::size_t(shape.indices[first + corner])];
            mesh.positions.insert(mesh.positions.end(), from, from + 3);
            mesh.colors.insert(mesh.colors.end(), own.begin(), own.end());
            mesh.colors.push_back(65535);
        };
        for (const std::size_t corner : {0u, 1u, 2u}) {
            add(once, corner);
            add(twice, corner);
        }
        for (const std::size_t corner : {0u, 2u, 1u})
            add(twice, corner);
    }
    EXPECT_EQ(flat(rootOf({element(std::move(once), Material())})),
              flat(rootOf({element(std::move(twice), Material())})));
}

TEST_F(DrawingTest, SmoothEdgesFadeIntoTheBackground)
{
    setLight(SceneLook::Light::None, 4);
    scene->setRootNode(rootOf({element(sphere(32), Material())}));
    QImage picture = drawn(Size, Size, -0.5, 0.5, -0.5, 0.5, at(3), 3, 7, {}, QColor(40, 80, 120, 0));
    // The content of the framebuffer is not divided by alpha.
    ASSERT_TRUE(picture.reinterpretAsFormat(QImage::Format_ARGB32));
    int partial = 0;
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const QRgb pixel = picture.pixel(x, y);
            const double cover = qAlpha(pixel) / 255.0;
            partial += cover > 0 && cover < 1;
            ASSERT_NEAR(qRed(pixel), 40 + (255 - 40) * cover, 1.5) << x << ' ' << y;
            ASSERT_NEAR(qBlue(pixel), 120 + (255 - 120) * cover, 1.5) << x << ' ' << y;
        }
    EXPECT_GT(partial, 50);
}

TEST_F(DrawingTest, TilesEqualTheUntiledPicture)
{
    SceneLook look;
    look.lineWidth = look.pointSize = 6.0 / (2 * Size);
    Material textured;
    std::mt19937 random(5);
    std::vector<std::uint8_t> pixels(64 * 64 * 4);
    for (auto& value : pixels)
        value = std::uint8_t(random() & 255);
    textured.baseColorTexture.image = image(64, 64, pixels);
    textured.baseColorTexture.transform = {5, 0, 0, 0, 5, 0};
    auto glass = square(0.8f);
    glass.material = makeMaterial(QColor(80, 160, 255, 90));
    Geometry lines, points;
    lines.kind = Geometry::Kind::Lines;
    lines.positions = {-0.9f, -0.9f, 1, 0.9f, 0.8f, 1, -0.9f, 0.02f, 1, 0.9f, 0.02f, 1};
    lines.indices = {0, 1, 2, 3};
    points.kind = Geometry::Kind::Points;
    points.positions = {0.005f, 0.005f, 1, 0.4f, -0.003f, 1, 0, 0.3f, 1};
    points.indices = {0, 1, 2};
    scene->setRootNode(
        rootOf({element(sphere(48), textured), new GeometryElement(QStringLiteral("g"), std::move(glass)),
                new GeometryElement(QStringLiteral("l"), std::move(lines)),
                new GeometryElement(QStringLiteral("p"), std::move(points))}));
    // The projection of pictures: half the height at distance 1 is `PictureHalfHeight`.
    const double h = PictureHalfHeight;
    for (const int samples : {0, 4})
        // Tiles of odd size begin within the squares of 2 x 2 pixels from which mipmaps are chosen.
        for (const int edge : {Size, Size - 2, Size - 1}) {
            look.samples = samples;
            SceneDrawer::setLook(look);
            const QImage whole = drawn(2 * edge, 2 * edge, -h, h, -h, h, at(3));
            EXPECT_GT(covered(whole), edge * edge / 2);
            std::array<int, 256> counts{};
            for (int tile = 0; tile < 4; ++tile) {
                const double left = tile % 2 ? 0 : -h, bottom = tile / 2 ? 0 : -h;
                const QImage part = drawn(edge, edge, left, left + h, bottom, bottom + h, at(3));
                addDifferences(part, whole.copy(tile % 2 * edge, (1 - tile / 2) * edge, edge, edge), counts);
            }
            const int pixels = 4 * edge * edge, beyond = pixels - counts[0] - counts[1];
            EXPECT_LE(counts[1], pixels / (edge % 2 ? 10 : 250)) << samples << ' ' << edge << ": rounding";
            EXPECT_LE(beyond, edge % 2 ? pixels / 200 : 0) << samples << ' ' << edge;
        }
}

TEST_F(DrawingTest, AClipPlaneCutsEverythingAtTheSamePlace)
{
    Geometry lines, points;
    lines.kind = Geometry::Kind::Lines;
    lines.positions = {-0.9f, 0.9f, 1.2f, 0.9f, 0.9f, 1.2f};
    lines.indices = {0, 1};
    points.kind = Geometry::Kind::Points;
    points.positions = {-0.5f, -0.9f, 1.2f, 0.5f, -0.9f, 1.2f};
    points.indices = {0, 1};
    scene->setRootNode(rootOf({new GeometryElement(QStringLiteral("s"), sphere(48)),
                               new GeometryElement(QStringLiteral("l"), std::move(lines)),
                               new GeometryElement(QStringLiteral("p"), std::move(points))}));
    const double h = PictureHalfHeight;
    for (const auto show : {SceneLook::Show::Surface, SceneLook::Show::SurfaceWithEdges, SceneLook::Show::Wireframe,
                            SceneLook::Show::Points}) {
        SceneLook look;
        look.show = show;
        SceneDrawer::setLook(look);
        const QImage whole = drawn(Size, Size, -h, h, -h, h, at(3));
        look.clip = ClipPlane{0, 0, false};
        SceneDrawer::setLook(look);
        const QImage left = drawn(Size, Size, -h, h, -h, h, at(3));
        look.clip->isFlipped = true;
        SceneDrawer::setLook(look);
        const QImage right = drawn(Size, Size, -h, h, -h, h, at(3));
        EXPECT_GT(covered(left), 100) << int(show);
        EXPECT_GT(covered(right), 100) << int(show);
        // Lines and points reach over the cut by half their width.
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                if (x > Size / 2 + 3)
                    ASSERT_EQ(qAlpha(left.pixel(x, y)), 0) << int(show) << ' ' << x << ' ' << y;
                if (x < Size / 2 - 4)
                    ASSERT_EQ(qAlpha(right.pixel(x, y)), 0) << int(show) << ' ' << x << ' ' << y;
            }
        EXPECT_NE(covered(whole), covered(left)) << int(show);
    }
}

TEST_F(DrawingTest, AClippedSolidShowsItsInsideFromBehind)
{
    Material oneSided;
    oneSided.doubleSided = false;
    scene->setRootNode(rootOf({element(sphere(48), oneSided)}));
    SceneLook look;
    look.clip = ClipPlane{2, 0, false}; // the half that is nearer to the eye is cut off
    const double h = PictureHalfHeight;
    SceneDrawer::setLook(SceneLook());
    const QImage whole = drawn(Size, Size, -h, h, -h, h, at(3));
    SceneDrawer::setLook(look);
    const QImage open = drawn(Size, Size, -h, h, -h, h, at(3));
    EXPECT_EQ(qAlpha(open.pixel(Size / 2, Size / 2)), 255) << "not a hole";
    EXPECT_NEAR(covered(open), covered(whole) * 0.89, covered(whole) * 0.03) << "the rim at z = 0 bounds it";
    // Its normals are turned towards the eye: a hollow sphere is bright where the light meets it, at the lower right.
    const int off = Size / 5;
    EXPECT_GT(qGray(open.pixel(Size / 2 + off, Size / 2 + off)), qGray(open.pixel(Size / 2 - off, Size / 2 - off)));
    EXPECT_LT(qGray(whole.pixel(Size / 2 + off, Size / 2 + off)), qGray(whole.pixel(Size / 2 - off, Size / 2 - off)));
}

TEST_F(DrawingTest, TilesOfAClippedSceneEqualTheUntiledPicture)
{
    scene->setRootNode(rootOf({new GeometryElement(QStringLiteral("s"), sphere(48))}));
    SceneLook look;
    look.clip = ClipPlane{0, 0.13, true};
    const double h = PictureHalfHeight;
    for (const int samples : {0, 4}) {
        look.samples = samples;
        SceneDrawer::setLook(look);
        const QImage whole = drawn(2 * Size, 2 * Size, -h, h, -h, h, at(3));
        std::array<int, 256> counts{};
        for (int tile = 0; tile < 4; ++tile) {
            const double left = tile % 2 ? 0 : -h, bottom = tile / 2 ? 0 : -h;
            const QImage part = drawn(Size, Size, left, left + h, bottom, bottom + h, at(3));
            addDifferences(part, whole.copy(tile % 2 * Size, (1 - tile / 2) * Size, Size, Size), counts);
        }
        const int pixels = 4 * Size * Size;
        EXPECT_LE(pixels - counts[0], pixels / 250) << samples;
        EXPECT_EQ(pixels - counts[0] - counts[1], 0) << samples;
    }
}
