#include "scene/drawing/scenedrawer.h"
#include "scene/sceneview.h"
#include "tests/scene/drawfixture.h"
#include "tests/scene/materialmodel.h"
#include "tests/scene/shapes.h"

#include <cmath>
#include <limits>
#include <random>

using namespace tov::scene;
using namespace tov::test;

namespace {

constexpr int Size = 160;
constexpr double Distance = 4;
constexpr double HalfHeight = 0.3;

/// The studio's key light, as in the drawer.
const Vec KeyDirection = normalized({-0.45, 0.65, 0.612});
constexpr double KeyStrength = 0.5;

class MaterialTest : public SceneTest
{
protected:
    void TearDown() override
    {
        SceneDrawer::setLook(SceneLook());
        SceneTest::TearDown();
    }
    void setLight(SceneLook::Light light, const std::shared_ptr<const Environment>& environment = nullptr)
    {
        SceneLook look;
        look.light = light;
        look.environment = environment;
        SceneDrawer::setLook(look);
    }
    QImage picture(SceneElement* root, const Matrix4& transform = at(Distance))
    {
        scene->setRootNode(root);
        return drawn(Size, Size, -HalfHeight, HalfHeight, -HalfHeight, HalfHeight, transform);
    }
    /// Direction of the point that a pixel shows.
    static Vec ray(int x, int y)
    {
        return normalized({((x + 0.5) / Size * 2 - 1) * HalfHeight, (1 - (y + 0.5) / Size * 2) * HalfHeight, -1});
    }
    static MaterialModel modelOf(const Material& material)
    {
        MaterialModel model;
        for (std::size_t c = 0; c < 3; ++c) {
            model.baseColor[c] = material.baseColor[c];
            model.emissive[c] = material.emissive[c];
        }
        model.metallic = material.metallic;
        model.roughness = material.roughness;
        model.indexOfRefraction = material.indexOfRefraction;
        model.clearcoat = material.clearcoat;
        model.clearcoatRoughness = material.clearcoatRoughness;
        model.transmission = material.transmission;
        model.environment = Environment::studio().get();
        model.keyDirection = KeyDirection;
        model.keyRadiance = KeyStrength;
        return model;
    }
    /// Mean difference in 255ths between a picture of the unit sphere and the model, over the pixels well inside the
    /// outline. `behind`: brightness of the background.
    static double sphereDifference(const QImage& image, const MaterialModel& model, double behind = 0)
    {
        double sum = 0;
        int count = 0;
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                const Vec direction = ray(x, y);
                const Vec eye = {0, 0, Distance};
                const double b = dot(eye, direction), root = b * b - (Distance * Distance - 1);
                if (root < 0.03)
                    continue;
                const Vec normal = eye + direction * (-b - std::sqrt(root));
                const Vec expected = model.shaded(normal, direction * -1);
                const double opacity = model.opacity(normal, direction * -1);
                const QRgb pixel = image.pixel(x, y);
                const int channels[] = {qRed(pixel), qGreen(pixel), qBlue(pixel)};
                for (std::size_t c = 0; c < 3; ++c)
                    sum += std::fabs(channels[c] - 255 * (expected[c] * opacity + behind * (1 - opacity)));
                count += 3;
            }
        EXPECT_GT(count, 3 * Size * Size / 3);
        return sum / count;
    }
};

Material materialOf(float metallic, float roughness, const std::array<float, 4>& color)
{
    Material material;
    material.metallic = metallic;
    material.roughness = roughness;
    material.baseColor = color;
    return material;
}

} // namespace

TEST_F(MaterialTest, SpheresMatchTheModel)
{
    setLight(SceneLook::Light::Studio);
    const std::array<float, 4> colors[] = {{1, 1, 1, 1}, {0.8f, 0.1f, 0.05f, 1}, {0.02f, 0.02f, 0.03f, 1}};
    for (const auto& color : colors)
        for (const float metallic : {0.0f, 0.5f, 1.0f})
            for (const float roughness : {0.05f, 0.3f, 0.6f, 1.0f}) {
                const Material material = materialOf(metallic, roughness, color);
                const QImage image = picture(rootOf({element(sphere(), material)}));
                EXPECT_LT(sphereDifference(image, modelOf(material)), 1.0)
                    << color[0] << ' ' << metallic << ' ' << roughness;
            }
}

TEST_F(MaterialTest, EmissiveAndRefractionMatchTheModel)
{
    setLight(SceneLook::Light::Studio);
    Material material = materialOf(0, 0.2f, {0.1f, 0.2f, 0.3f, 1});
    material.emissive = {0.3f, 0.05f, 0};
    material.indexOfRefraction = 2.2f;
    const QImage image = picture(rootOf({element(sphere(), material)}));
    EXPECT_LT(sphereDifference(image, modelOf(material)), 1.0);
}

TEST_F(MaterialTest, ClearcoatMatchesTheModel)
{
    setLight(SceneLook::Light::Studio);
    for (const float coat : {0.5f, 1.0f})
        for (const float roughness : {0.0f, 0.4f}) {
            Material material = materialOf(0.3f, 0.8f, {0.6f, 0.05f, 0.05f, 1});
            material.emissive = {0, 0.2f, 0};
            const QImage plain = picture(rootOf({element(sphere(), material)}));
            material.clearcoat = coat;
            material.clearcoatRoughness = roughness;
            const QImage image = picture(rootOf({element(sphere(), material)}));
            EXPECT_LT(sphereDifference(image, modelOf(material)), 1.0) << coat << ' ' << roughness;
            EXPECT_GT(sphereDifference(plain, modelOf(material)), 1.5) << "the coat can be seen";
        }
}

TEST_F(MaterialTest, TransmissionShowsTheBackground)
{
    setLight(SceneLook::Light::Studio);
    for (const float transmission : {0.5f, 1.0f}) {
        Material material = materialOf(0, 0.1f, {0.4f, 0.8f, 0.6f, 1});
        material.transmission = transmission;
        material.doubleSided = false;
        scene->setRootNode(rootOf({element(sphere(), material)}));
        const QImage image = drawn(Size, Size, -HalfHeight, HalfHeight, -HalfHeight, HalfHeight, at(Distance), 3, 7, {},
                                   QColor(204, 204, 204));
        EXPECT_LT(sphereDifference(image, modelOf(material), 0.8), 1.0) << transmission;
    }
}

TEST_F(MaterialTest, OcclusionDarkensEnvironmentLight)
{
    setLight(SceneLook::Light::Studio);
    Material material = materialOf(0.5f, 0.4f, {0.7f, 0.7f, 0.7f, 1});
    material.occlusionTexture.image = image(1, 1, {64, 255, 255, 255});
    material.occlusionStrength = 0.75f;
    const QImage image = picture(rootOf({element(sphere(), material)}));
    MaterialModel model = modelOf(material);
    EXPECT_GT(sphereDifference(image, model), 5.0);
    model.occlusion = 1 + 0.75 * (64 / 255.0 - 1);
    EXPECT_LT(sphereDifference(image, model), 1.0);
}

TEST_F(MaterialTest, EmissiveTexturesAreColours)
{
    Material material = materialOf(0, 1, {0.1f, 0.1f, 0.1f, 1});
    material.emissive = {0.5f, 1, 1};
    material.emissiveTexture.image = image(1, 1, {200, 90, 10, 255});
    MaterialModel model = modelOf(material);
    const int texel[] = {200, 90, 10};
    for (std::size_t c = 0; c < 3; ++c)
        model.emissive[c] = double(material.emissive[c]) * double(linearFromSrgb(float(texel[c]) / 255));
    setLight(SceneLook::Light::Studio);
    EXPECT_LT(sphereDifference(picture(rootOf({element(sphere(), material)})), model), 1.0);
}

TEST_F(MaterialTest, MetallicAndRoughnessTexturesMultiply)
{
    setLight(SceneLook::Light::Studio);
    Material material = materialOf(0.8f, 0.9f, {0.9f, 0.6f, 0.3f, 1});
    material.metallicRoughnessTexture.image = image(1, 1, {255, 102, 153, 255});
    MaterialModel model = modelOf(material);
    model.roughness = double(material.roughness) * 102 / 255;
    model.metallic = double(material.metallic) * 153 / 255;
    EXPECT_LT(sphereDifference(picture(rootOf({element(sphere(), material)})), model), 1.0);
}

TEST_F(MaterialTest, SmallTexturesAreMeansInLinearLight)
{
    setLight(SceneLook::Light::None);
    // Four texels for each pixel, across and down.
    constexpr int Texels = 4 * Size;
    std::mt19937 random(11);
    std::vector<std::uint8_t> pixels(std::size_t(4) * Texels * Texels);
    for (auto& value : pixels)
        value = std::uint8_t(random() & 255);
    Material material;
    material.baseColorTexture.image = image(Texels, Texels, pixels);
    scene->setRootNode(rootOf({element(square(), material)}));
    const QImage image = drawn(Size, Size, -0.5, 0.5, -0.5, 0.5, at(2));
    double sum = 0;
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            double mean = 0;
            for (int i = 0; i < 16; ++i)
                mean += double(linearFromSrgb(float(pixels[4 * std::size_t((4 * y + i / 4) * Texels + 4 * x + i % 4)]) /
                                              255)) /
                        16;
            sum += std::fabs(qRed(image.pixel(x, y)) - 255 * encodedSrgb(mean));
        }
    EXPECT_LT(sum / (Size * Size), 1.0);
}

TEST_F(MaterialTest, ALensDoesNotChangeTheLight)
{
    setLight(SceneLook::Light::Studio);
    const Material material = materialOf(1, 0.3f, {0.9f, 0.6f, 0.2f, 1});
    const QImage plain = picture(rootOf({element(sphere(), material)}));
    // The eye's x and y are twice as large, and the frustum as well.
    Matrix4 lens = Matrix4::identity();
    lens(0, 0) = lens(1, 1) = 2;
    const QImage zoomed =
        drawn(Size, Size, -2 * HalfHeight, 2 * HalfHeight, -2 * HalfHeight, 2 * HalfHeight, lens * at(Distance));
    int different = 0;
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x)
            different += std::abs(qGreen(plain.pixel(x, y)) - qGreen(zoomed.pixel(x, y))) > 1;
    EXPECT_EQ(different, 0);
}

TEST_F(MaterialTest, AParallelProjectionHasParallelLinesOfSight)
{
    setLight(SceneLook::Light::Studio);
    const Material material = materialOf(0.5f, 0.4f, {0.7f, 0.7f, 0.7f, 1});
    scene->setRootNode(rootOf({element(sphere(), material)}));
    // w = 1 / near at the near plane and 1 / far at the far plane; the eye's z from -1 to -10000.
    constexpr double Near = 1, Far = 10000, Scale = 0.25;
    Matrix4 lens;
    lens(0, 0) = lens(1, 1) = Scale;
    lens(2, 3) = -1;
    lens(3, 2) = (1 / Near - 1 / Far) / (Far - Near);
    lens(3, 3) = 1 / Near + lens(3, 2) * Near;
    const QImage image = drawn(Size, Size, -HalfHeight, HalfHeight, -HalfHeight, HalfHeight, lens * at(Distance));
    const MaterialModel model = modelOf(material);
    double sum = 0;
    int count = 0;
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const double px = ((x + 0.5) / Size * 2 - 1) * HalfHeight / Scale;
            const double py = (1 - (y + 0.5) / Size * 2) * HalfHeight / Scale;
            if (px * px + py * py > 0.9)
                continue;
            const Vec normal = {px, py, std::sqrt(1 - px * px - py * py)};
            sum += std::fabs(qGreen(image.pixel(x, y)) - 255 * model.shaded(normal, {0, 0, 1})[1]);
            ++count;
        }
    EXPECT_GT(count, Size * Size / 4);
    EXPECT_LT(sum / count, 1.0);
}

TEST_F(MaterialTest, WhiteInUniformLightIsWhite)
{
    const auto even = std::make_shared<const Environment>([](const auto&) {
        return Environment::Color{0.6f, 0.6f, 0.6f};
    });
    setLight(SceneLook::Light::Environment, even);
    MaterialModel model;
    model.environment = even.get();
    const Vec expected = [&] {
        // The light itself after tone mapping and encoding: an emissive black surface without light.
        MaterialModel none;
        static const Environment dark([](const auto&) { return Environment::Color{0, 0, 0}; });
        none.environment = &dark;
        none.baseColor = {0, 0, 0};
        none.metallic = 1;
        none.emissive = {0.6, 0.6, 0.6};
        return none.shaded({0, 0, 1}, {0, 0, 1});
    }();
    // Two percent of the light is less than that many 255ths after encoding.
    const double tolerance = 255 * 0.02 * 0.5 + 0.5;
    for (const float metallic : {0.0f, 1.0f})
        for (float roughness = 0; roughness <= 1.001f; roughness += 0.1f) {
            const QImage image = picture(rootOf({element(sphere(48), materialOf(metallic, roughness, {1, 1, 1, 1}))}));
            for (int y = 0; y < Size; ++y)
                for (int x = 0; x < Size; ++x) {
                    if (qAlpha(image.pixel(x, y)) != 255)
                        continue;
                    ASSERT_NEAR(qGreen(image.pixel(x, y)), 255 * expected[1], tolerance)
                        << metallic << ' ' << roughness << ' ' << x << ' ' << y;
                }
        }
}

TEST_F(MaterialTest, WhiteStaysBelow250InTheStudio)
{
    setLight(SceneLook::Light::Studio);
    const QImage image = picture(rootOf({element(sphere(), materialOf(0, 1, {1, 1, 1, 1}))}));
    int brightest = 0;
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x)
            brightest = std::max(brightest, qRed(image.pixel(x, y)) * (qAlpha(image.pixel(x, y)) == 255));
    EXPECT_LT(brightest, 250);
    EXPECT_GT(brightest, 225);
}

TEST_F(MaterialTest, NormalMapsTurnTheNormal)
{
    setLight(SceneLook::Light::Studio);
    // One texel: the normal leans 0.6 to +u and 0.3 up.
    const auto bump = image(1, 1, {204, 166, 222, 255});
    const double bx = 204 / 127.5 - 1, by = 166 / 127.5 - 1, bz = 222 / 127.5 - 1;
    for (const bool hasTangents : {false, true})
        for (const double turn : {0.0, 90.0, 200.0}) {
            Material material = materialOf(0, 0.5f, {0.6f, 0.6f, 0.6f, 1});
            material.normalTexture.image = bump;
            Geometry geometry = square();
            // Texture coordinates turned in the plane.
            const double c = std::cos(turn * 3.14159265358979 / 180), s = std::sin(turn * 3.14159265358979 / 180);
            for (std::size_t i = 0; i < 4; ++i) {
                const double u = geometry.positions[3 * i], v = -geometry.positions[3 * i + 1];
                geometry.uv[0][2 * i] = float(c * u + s * v);
                geometry.uv[0][2 * i + 1] = float(-s * u + c * v);
                if (hasTangents)
                    geometry.tangents.insert(geometry.tangents.end(), {float(c), float(-s), 0, 1});
            }
            const QImage image = picture(rootOf({element(std::move(geometry), material)}));
            // u grows along (c, -s), v falls along (s, c).
            const Vec normal = normalized(Vec{c, -s, 0} * bx + Vec{s, c, 0} * by + Vec{0, 0, bz});
            const MaterialModel model = modelOf(material);
            double sum = 0;
            int count = 0;
            for (int y = Size / 4; y < Size * 3 / 4; ++y)
                for (int x = Size / 4; x < Size * 3 / 4; ++x, ++count)
                    sum += std::fabs(qGreen(image.pixel(x, y)) - 255 * model.shaded(normal, ray(x, y) * -1)[1]);
            EXPECT_LT(sum / count, 1.0) << hasTangents << ' ' << turn;
        }
}

TEST_F(MaterialTest, MirroredElementsAreLitFromTheRightSide)
{
    setLight(SceneLook::Light::Studio);
    Material material = materialOf(0, 0.6f, {0.8f, 0.8f, 0.8f, 1});
    for (const bool doubleSided : {false, true}) {
        material.doubleSided = doubleSided;
        auto* mirrored = element(sphere(), material);
        Matrix4 turn = Matrix4::identity();
        turn(0, 0) = -1;
        mirrored->setTransform(turn);
        EXPECT_LT(sphereDifference(picture(rootOf({mirrored})), modelOf(material)), 1.0) << doubleSided;
    }
}

TEST_F(MaterialTest, NonFiniteNumbersDoNoHarm)
{
    const float odd[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                         -std::numeric_limits<float>::infinity(), -1e30f, 1e30f};
    for (const auto light : {SceneLook::Light::Studio, SceneLook::Light::Headlight, SceneLook::Light::None}) {
        setLight(light);
        for (const float value : odd) {
            Material material = materialOf(value, value, {value, value, value, value});
            material.emissive = {value, value, value};
            material.normalScale = material.occlusionStrength = material.alphaCutoff = value;
            material.clearcoat = material.clearcoatRoughness = material.transmission = value;
            material.indexOfRefraction = value;
            material.baseColorTexture.image = image(1, 1, {9, 9, 9, 9});
            material.baseColorTexture.transform.fill(value);
            material.normalTexture = material.emissiveTexture = material.baseColorTexture;
            picture(rootOf({element(sphere(8), material)}));
        }
    }
}

TEST_F(MaterialTest, TwoPicturesAreIdentical)
{
    setLight(SceneLook::Light::Studio);
    const Material material = materialOf(0.7f, 0.35f, {0.5f, 0.6f, 0.7f, 1});
    const QImage first = picture(rootOf({element(sphere(), material)}));
    EXPECT_EQ(picture(rootOf({element(sphere(), material)})), first);
}
