#include "scene/drawing/environment.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace tov::scene {

namespace {

typedef Environment::Color Color;
typedef Environment::Direction Direction;

constexpr double Pi = 3.14159265358979323846;
/// Directions from pole to pole in which light is sampled: for level 1, and for the rougher levels.
constexpr int FineSteps = 64;
constexpr int CoarseSteps = 32;
/// Rough reflections are smooth, so they are computed for smaller squares and enlarged. The edges of the squares: of
/// the first two levels, and of the others.
constexpr int RoughEdge = 34;
constexpr int RoughestEdge = 18;
/// Brighter light would show as single pixels in rough reflections.
constexpr float MaxRadiance = 1000;

std::atomic<std::uint64_t> lastId{0};

/// Light from a grid of directions with equal steps of longitude and latitude.
struct Source
{
    const int height;
    std::vector<Color> colors;
    std::vector<Direction> directions;
    std::vector<float> solidAngles;

    /// `height` directions from pole to pole, twice as many around.
    Source(const std::function<Color(const Direction&)>& radiance, int height) : height(height)
    {
        for (int y = 0; y < height; ++y) {
            const double polar = (y + 0.5) * Pi / height;
            for (int x = 0; x < 2 * height; ++x) {
                const double around = (x + 0.5) * Pi / height;
                directions.push_back({float(std::sin(polar) * std::sin(around)), float(std::cos(polar)),
                                      float(std::sin(polar) * std::cos(around))});
                solidAngles.push_back(
                    float((std::cos(y * Pi / height) - std::cos((y + 1) * Pi / height)) * Pi / height));
                colors.push_back(radiance(directions.back()));
                for (float& value : colors.back())
                    value = std::isfinite(value) ? std::clamp(value, 0.0f, MaxRadiance) : 0.0f;
            }
        }
    }
    /// The first and the last row with directions whose cosine to `direction` is above `least`.
    std::array<std::size_t, 2> rowsAround(const Direction& direction, float least) const
    {
        const double middle = std::acos(std::clamp(double(direction[1]), -1.0, 1.0)), reach = std::acos(double(least));
        const auto row = [this](double polar) {
            return std::size_t(std::clamp(int(std::floor(polar / Pi * height)), 0, height - 1));
        };
        return {row(middle - reach), row(middle + reach)};
    }
};

/// The direction of a point of the octahedral square, both coordinates from -1 to 1; outside of this range the square
/// is folded over its edge.
Direction octahedral(float u, float v)
{
    if (std::fabs(u) > 1) {
        u = std::copysign(2.0f, u) - u;
        v = -v;
    }
    if (std::fabs(v) > 1) {
        v = std::copysign(2.0f, v) - v;
        u = -u;
    }
    Direction d = {u, v, 1 - std::fabs(u) - std::fabs(v)};
    if (d[2] < 0) {
        const float x = d[0];
        d[0] = std::copysign(1 - std::fabs(d[1]), x);
        d[1] = std::copysign(1 - std::fabs(x), d[1]);
    }
    const float length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    return {d[0] / length, d[1] / length, d[2] / length};
}

std::array<float, 9> harmonics(const Direction& d)
{
    const float x = d[0], y = d[1], z = d[2];
    return {1, y, z, x, x * y, y * z, 3 * z * z - 1, x * z, x * x - y * y};
}

std::array<Color, 9> irradianceOf(const Source& source)
{
    // Squares of the normalisation factors of the basis, times the share of the cosine lobe in each degree.
    constexpr double Factors[9] = {
        0.282095 * 0.282095,         0.488603 * 0.488603 * 2 / 3, 0.488603 * 0.488603 * 2 / 3,
        0.488603 * 0.488603 * 2 / 3, 1.092548 * 1.092548 / 4,     1.092548 * 1.092548 / 4,
        0.315392 * 0.315392 / 4,     1.092548 * 1.092548 / 4,     0.546274 * 0.546274 / 4};
    std::array<std::array<double, 3>, 9> sums{};
    for (std::size_t i = 0; i < source.colors.size(); ++i) {
        const auto basis = harmonics(source.directions[i]);
        for (std::size_t k = 0; k < 9; ++k)
            for (std::size_t c = 0; c < 3; ++c)
                sums[k][c] += double(source.colors[i][c]) * basis[k] * source.solidAngles[i];
    }
    std::array<Color, 9> result;
    for (std::size_t k = 0; k < 9; ++k)
        for (std::size_t c = 0; c < 3; ++c)
            result[k][c] = float(sums[k][c] * Factors[k]);
    return result;
}

/// The light that a surface of this roughness reflects into `direction`, seen from there: the GGX lobe around it
/// (Karis, "Real Shading in Unreal Engine 4", SIGGRAPH 2013).
Color filtered(const Source& source, const Direction& direction, float roughness)
{
    const float alpha2 = roughness * roughness * roughness * roughness;
    // Light farther from the direction than this contributes less than a hundredth.
    const float least = roughness < 0.3f ? 0.6f : 0;
    const auto [firstRow, lastRow] = source.rowsAround(direction, least);
    const std::size_t perRow = 2 * std::size_t(source.height);
    float sum[3] = {}, weights = 0;
    for (std::size_t i = firstRow * perRow; i < (lastRow + 1) * perRow; ++i) {
        const Direction& light = source.directions[i];
        const float cosine = light[0] * direction[0] + light[1] * direction[1] + light[2] * direction[2];
        if (cosine <= least)
            continue;
        // The half vector's cosine, squared: (1 + n.l) / 2 for a viewer in the direction of the normal.
        const float shape = (1 + cosine) / 2 * (alpha2 - 1) + 1;
        const float weight = cosine * alpha2 / (shape * shape) * source.solidAngles[i];
        for (std::size_t c = 0; c < 3; ++c)
            sum[c] += weight * source.colors[i][c];
        weights += weight;
    }
    return {sum[0] / weights, sum[1] / weights, sum[2] / weights};
}

/// A square of `edge` x `edge` directions, with `value` for each.
std::vector<Color> square(int edge, const std::function<Color(const Direction&)>& value)
{
    const auto at = [edge](int texel) { return (float(texel) - 0.5f) / float(edge - 2) * 2 - 1; };
    std::vector<Color> result;
    for (int y = 0; y < edge; ++y)
        for (int x = 0; x < edge; ++x)
            result.push_back(value(octahedral(at(x), at(y))));
    return result;
}

/// Where texel `texel` of a full square lies in a square of `edge` texels.
float positionIn(int edge, int texel)
{
    const float share = (float(texel) - 0.5f) / float(Environment::Edge - 2);
    return std::clamp(share * float(edge - 2) + 0.5f, 0.0f, float(edge - 1));
}

Color interpolated(const std::vector<Color>& square, int edge, float x, float y)
{
    const int left = std::min(int(x), edge - 2), top = std::min(int(y), edge - 2);
    const float right = x - float(left), bottom = y - float(top);
    const Color* corner = &square[std::size_t(top) * std::size_t(edge) + std::size_t(left)];
    Color result;
    for (std::size_t c = 0; c < 3; ++c)
        result[c] = (corner[0][c] * (1 - right) + corner[1][c] * right) * (1 - bottom) +
                    (corner[edge][c] * (1 - right) + corner[edge + 1][c] * right) * bottom;
    return result;
}

/// A soft light: 1 in the middle, falling to 0 at the edge of a cone.
float softbox(const Direction& d, const Direction& towards, float cosInner, float cosOuter)
{
    const float length = std::sqrt(towards[0] * towards[0] + towards[1] * towards[1] + towards[2] * towards[2]);
    const float cosine = (d[0] * towards[0] + d[1] * towards[1] + d[2] * towards[2]) / length;
    const float t = std::clamp((cosine - cosOuter) / (cosInner - cosOuter), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

/// A room that is bright at the top and dark at the bottom, with a large light at the upper left, one on the right and
/// one behind.
Color studioRadiance(const Direction& d)
{
    const float up = d[1];
    const float room = up > 0 ? 0.24f + 0.22f * up : 0.24f + 0.16f * up;
    // Darker around the camera, so that metal facing it has contrast.
    const float atCamera = 1 - 0.45f * softbox(d, {0, -0.1f, 1}, 0.97f, 0.55f);
    const float key = 2.4f * softbox(d, {-0.62f, 0.62f, 0.48f}, 0.95f, 0.89f);
    const float fill = 1.3f * softbox(d, {0.95f, 0.15f, 0.25f}, 0.95f, 0.89f);
    const float back = 1.8f * softbox(d, {0.15f, 0.75f, -0.65f}, 0.95f, 0.88f);
    const float base = room * atCamera;
    return {base * 0.985f + key + fill * 0.97f + back * 0.98f, base + key * 0.985f + fill * 0.99f + back,
            base * 1.03f + key * 0.96f + fill * 1.03f + back * 1.03f};
}

} // namespace

Environment::Environment(const std::function<Color(const Direction&)>& radiance) : m_Id(++lastId)
{
    const Source fine(radiance, FineSteps), coarse(radiance, CoarseSteps);
    m_Irradiance = irradianceOf(fine);
    m_Table.reserve(std::size_t(3) * Levels * Edge * Edge);
    append(square(Edge, radiance), Edge);
    for (int level = 1; level < Levels; ++level) {
        const float roughness = float(level) / (Levels - 1);
        const Source& source = level == 1 ? fine : coarse;
        const int edge = level <= 2 ? RoughEdge : RoughestEdge;
        append(square(edge, [&](const Direction& direction) { return filtered(source, direction, roughness); }), edge);
    }
}

void Environment::append(const std::vector<Color>& square, int edge)
{
    for (int y = 0; y < Edge; ++y)
        for (int x = 0; x < Edge; ++x) {
            const Color color = interpolated(square, edge, positionIn(edge, x), positionIn(edge, y));
            for (const float value : color)
                m_Table.push_back(std::isfinite(value) ? std::clamp(value, 0.0f, MaxRadiance) : 0.0f);
        }
}

std::shared_ptr<const Environment> Environment::studio()
{
    static const auto instance = std::make_shared<const Environment>(studioRadiance);
    return instance;
}

std::array<Environment::Color, 10> irradianceForm(const Environment& environment, const tov::math::Matrix4& turn)
{
    std::array<Environment::Color, 10> result{};
    const auto& sh = environment.getIrradiance();
    for (std::size_t c = 0; c < 3; ++c) {
        tov::math::Matrix4 form;
        form(0, 0) = sh[8][c];
        form(1, 1) = -sh[8][c];
        form(2, 2) = 3 * sh[6][c];
        form(0, 1) = form(1, 0) = sh[4][c] / 2;
        form(1, 2) = form(2, 1) = sh[5][c] / 2;
        form(2, 0) = form(0, 2) = sh[7][c] / 2;
        form = turn.transposed() * form * turn;
        const double linear[3] = {sh[3][c], sh[1][c], sh[2][c]};
        result[0][c] = sh[0][c] - sh[6][c];
        for (unsigned int axis = 0; axis < 3; ++axis) {
            result[1 + axis][c] =
                float(turn(0, axis) * linear[0] + turn(1, axis) * linear[1] + turn(2, axis) * linear[2]);
            result[4 + axis][c] = float(form(axis, axis));
            result[7 + axis][c] = float(2 * form(axis, (axis + 1) % 3));
        }
    }
    return result;
}

Environment::Direction studioKeyDirection()
{
    constexpr Environment::Direction direction = {-0.45f, 0.65f, 0.612f};
    const float length =
        std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] + direction[2] * direction[2]);
    return {direction[0] / length, direction[1] / length, direction[2] / length};
}

} // namespace tov::scene
