#include "scene/drawing/environment.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QObject>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_HDR
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 16384
#include <stb/stb_image.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <new>

namespace tov::scene {

namespace {

typedef Environment::Color Color;
typedef Environment::Direction Direction;

constexpr double Pi = 3.14159265358979323846;
/// Directions from pole to pole in which light is sampled: for level 1, and for the rougher levels.
constexpr int FineSteps = 64;
constexpr int CoarseSteps = 32;
/// Rough reflections are smooth, so they are computed for smaller squares and enlarged: edges for the first two levels,
/// and for the others.
constexpr int RoughEdge = 34;
constexpr int RoughestEdge = 18;
/// A file larger than this is refused, as is a picture of more pixels.
constexpr qint64 MaxFileBytes = 256 << 20;
constexpr qint64 MaxPixels = 64 << 20;
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

/// A room that is light above and dark below, with a large light up to the left, one to the right and one behind.
Color studioRadiance(const Direction& d)
{
    const float up = d[1];
    const float room = up > 0 ? 0.24f + 0.22f * up : 0.24f + 0.16f * up;
    // Around the camera it is darker, so that metal facing it has contrast.
    const float atCamera = 1 - 0.45f * softbox(d, {0, -0.1f, 1}, 0.97f, 0.55f);
    const float key = 2.4f * softbox(d, {-0.62f, 0.62f, 0.48f}, 0.95f, 0.89f);
    const float fill = 1.3f * softbox(d, {0.95f, 0.15f, 0.25f}, 0.95f, 0.89f);
    const float back = 1.8f * softbox(d, {0.15f, 0.75f, -0.65f}, 0.95f, 0.88f);
    const float base = room * atCamera;
    return {base * 0.985f + key + fill * 0.97f + back * 0.98f, base + key * 0.985f + fill * 0.99f + back,
            base * 1.03f + key * 0.96f + fill * 1.03f + back * 1.03f};
}

/// The end of a row of run-length coded pixels that begins at `at`; -1 when the data end before.
qint64 endOfRow(const QByteArray& bytes, qint64 at, int width)
{
    at += 4;
    for (int component = 0; component < 4; ++component)
        for (int x = 0; x < width;) {
            if (at >= bytes.size())
                return -1;
            const int count = uchar(bytes[int(at)]);
            const bool isRun = count > 128;
            x += isRun ? count - 128 : std::max(count, 1);
            at += isRun ? 2 : 1 + count;
        }
    return at <= bytes.size() ? at : -1;
}

/// Whether a Radiance file holds all its rows. They follow the line with the size, which follows an empty line.
bool isWhole(const QByteArray& bytes, int width, int height)
{
    const int header = bytes.indexOf("\n\n");
    const int line = header < 0 ? -1 : bytes.indexOf('\n', header + 2);
    if (line < 0)
        return false;
    qint64 at = line + 1;
    const auto isCoded = [&bytes, width](qint64 row) {
        return row + 4 <= bytes.size() && bytes[int(row)] == 2 && bytes[int(row + 1)] == 2 &&
               uchar(bytes[int(row + 2)]) * 256 + uchar(bytes[int(row + 3)]) == width;
    };
    if (width < 8 || width >= 32768 || !isCoded(at))
        return bytes.size() - at >= qint64(4) * width * height;
    for (int row = 0; row < height; ++row) {
        at = isCoded(at) ? endOfRow(bytes, at, width) : -1;
        if (at < 0)
            return false;
    }
    return true;
}

/// A Radiance picture around the scene.
class Panorama
{
public:
    /// The problem of the file, empty if there is none.
    QString read(const QString& fileName)
    {
        QFile file(fileName);
        if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
            return QObject::tr("cannot read '%1'").arg(fileName);
        if (file.size() > MaxFileBytes)
            return QObject::tr("'%1' is larger than %2 MB").arg(fileName, QString::number(MaxFileBytes >> 20));
        const QByteArray bytes = file.readAll();
        const auto* data = reinterpret_cast<const stbi_uc*>(bytes.constData());
        int channels = 0;
        if (!stbi_is_hdr_from_memory(data, bytes.size()) ||
            !stbi_info_from_memory(data, bytes.size(), &m_Width, &m_Height, &channels))
            return QObject::tr("'%1' is not a Radiance picture").arg(fileName);
        if (m_Width < 2 || m_Height < 1 || qint64(m_Width) * m_Height > MaxPixels)
            return QObject::tr("'%1' is %2 x %3 pixels, which is out of range")
                .arg(fileName, QString::number(m_Width), QString::number(m_Height));
        // The decoder does not notice where the data ends.
        if (!isWhole(bytes, m_Width, m_Height))
            return QObject::tr("'%1' is truncated").arg(fileName);
        m_Pixels.reset(stbi_loadf_from_memory(data, bytes.size(), &m_Width, &m_Height, &channels, 3));
        return m_Pixels ? QString() : QObject::tr("'%1' is damaged").arg(fileName);
    }
    /// The mean around a direction, over about a hundredth of the picture's height.
    Color at(const Direction& d) const
    {
        const double x = (std::atan2(double(d[0]), -double(d[2])) / (2 * Pi) + 0.5) * m_Width;
        const double y = std::acos(std::clamp(double(d[1]), -1.0, 1.0)) / Pi * m_Height;
        const int reach = std::max(0, m_Height / 128 - 1) / 2;
        double sum[3] = {};
        for (int v = -reach; v <= reach; ++v)
            for (int u = -reach; u <= reach; ++u) {
                const int row = std::clamp(int(y) + v, 0, m_Height - 1);
                const int column = ((int(x) + u) % m_Width + m_Width) % m_Width;
                const float* pixel =
                    m_Pixels.get() + 3 * (std::size_t(row) * std::size_t(m_Width) + std::size_t(column));
                for (std::size_t c = 0; c < 3; ++c)
                    sum[c] += std::isfinite(pixel[c]) ? double(pixel[c]) : 0.0;
            }
        const double count = double(2 * reach + 1) * double(2 * reach + 1);
        return {float(sum[0] / count), float(sum[1] / count), float(sum[2] / count)};
    }

private:
    struct Free
    {
        void operator()(float* pixels) const { stbi_image_free(pixels); }
    };
    int m_Width = 0, m_Height = 0;
    std::unique_ptr<float, Free> m_Pixels;
};

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

std::shared_ptr<const Environment> Environment::read(const QString& fileName, QString* error)
{
    static std::mutex mutex;
    static std::map<QString, std::weak_ptr<const Environment>> known;
    const QFileInfo info(fileName);
    const QString key = QStringLiteral("%1\n%2\n%3")
                            .arg(info.canonicalFilePath(), QString::number(info.size()),
                                 info.lastModified().toString(Qt::ISODateWithMs));
    std::lock_guard<std::mutex> guard(mutex);
    if (auto old = known[key].lock())
        return old;
    try {
        Panorama panorama;
        const QString problem = panorama.read(fileName);
        if (problem.isEmpty()) {
            auto made = std::make_shared<const Environment>([&](const Direction& d) { return panorama.at(d); });
            known[key] = made;
            return made;
        }
        if (error)
            *error = problem;
    } catch (const std::bad_alloc&) {
        if (error)
            *error = QObject::tr("not enough memory");
    }
    return nullptr;
}

} // namespace tov::scene
