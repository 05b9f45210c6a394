#include "scene/import/readers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <unordered_map>

namespace tov::scene {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

/// Walks over the words of a text file and knows the line.
class Words
{
public:
    Words(const char* begin, const char* end) : mp_At(begin), mp_End(end) {}

    bool atEnd() const { return mp_At >= mp_End; }
    const char* at() const { return mp_At; }
    std::size_t line() const { return m_Line; }

    /// Begins the next line; false at the end of the file.
    bool nextLine()
    {
        while (mp_At < mp_End && *mp_At != '\n')
            ++mp_At;
        if (mp_At >= mp_End)
            return false;
        ++mp_At;
        ++m_Line;
        return mp_At < mp_End;
    }
    /// The next word of this line; empty at its end. A backslash at the end of a line joins the next one to it.
    std::string_view word()
    {
        for (;;) {
            while (mp_At < mp_End && (*mp_At == ' ' || *mp_At == '\t' || *mp_At == '\r'))
                ++mp_At;
            if (mp_At + 1 < mp_End && *mp_At == '\\' && (mp_At[1] == '\n' || mp_At[1] == '\r')) {
                while (*mp_At != '\n' && mp_At + 1 < mp_End)
                    ++mp_At;
                ++mp_At;
                ++m_Line;
                continue;
            }
            break;
        }
        const char* first = mp_At;
        while (mp_At < mp_End && *mp_At != ' ' && *mp_At != '\t' && *mp_At != '\r' && *mp_At != '\n')
            ++mp_At;
        return std::string_view(first, std::size_t(mp_At - first));
    }
    /// What is left of this line, without blanks around it.
    QString rest()
    {
        const char* first = mp_At;
        while (mp_At < mp_End && *mp_At != '\n')
            ++mp_At;
        return QString::fromUtf8(first, int(mp_At - first)).trimmed();
    }

private:
    const char* mp_At;
    const char* mp_End;
    std::size_t m_Line = 1;
};

bool readFloat(std::string_view word, float& value)
{
    if (!word.empty() && word.front() == '+')
        word.remove_prefix(1);
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    return result.ec == std::errc() && result.ptr == word.data() + word.size();
}

std::map<QString, QColor> readMaterials(const QString& fileName)
{
    std::map<QString, QColor> materials;
    QFile file(fileName);
    // A missing material library costs the colours, not the model.
    if (!file.open(QIODevice::ReadOnly) || file.size() > (16 << 20))
        return materials;
    QString current;
    for (const QByteArray& raw : file.readAll().split('\n')) {
        const QList<QByteArray> words = raw.simplified().split(' ');
        if (words.first() == "newmtl" && words.size() > 1)
            current = QString::fromUtf8(raw.simplified().mid(7));
        else if (words.first() == "Kd" && words.size() >= 4) {
            QColor color =
                QColor::fromRgbF(qBound(0.0, words[1].toDouble(), 1.0), qBound(0.0, words[2].toDouble(), 1.0),
                                 qBound(0.0, words[3].toDouble(), 1.0));
            const auto old = materials.find(current);
            if (old != materials.end())
                color.setAlphaF(old->second.alphaF());
            materials[current] = color;
        } else if ((words.first() == "d" || words.first() == "Tr") && words.size() >= 2) {
            const double value = qBound(0.0, words[1].toDouble(), 1.0);
            QColor color = materials.count(current) ? materials[current] : QColor(200, 200, 205);
            color.setAlphaF(words.first() == "d" ? value : 1.0 - value);
            materials[current] = color;
        }
    }
    return materials;
}

/// An sRGB colour value from 0 to 1 as a linear one.
std::uint16_t color16(float value)
{
    return std::uint16_t(std::lround(linearFromSrgb(std::clamp(value, 0.0f, 1.0f)) * 65535));
}

/// The part of a model with one name and one material.
struct Part
{
    QString name;
    Geometry surfaces;
    Geometry lines;
    Geometry points;
    std::unordered_map<std::uint64_t, std::uint32_t> corners; ///< vertex and normal to the part's own vertex
};

} // namespace

SceneElement* readObj(const ReadSource& source)
{
    std::vector<float> positions, normals, colors;
    std::map<QString, QColor> materials;
    std::map<QString, std::size_t> partNumbers;
    std::vector<std::unique_ptr<Part>> parts;
    Part* part = nullptr;
    QString groupName, materialName;
    bool known = false;

    Words words(source.begin, source.end);
    const auto fail = [&](const QString& what) { throw ReadError(tr("line %1: %2").arg(words.line()).arg(what)); };
    const auto text = [](std::string_view word) { return QString::fromUtf8(word.data(), int(word.size())); };
    const auto number = [&](std::string_view word) {
        float value = 0;
        if (!readFloat(word, value) || !std::isfinite(value))
            fail(word.empty() ? tr("a number is missing") : tr("\"%1\" is no number").arg(text(word)));
        return value;
    };
    // Indices count from 1, negative ones from the end of what has been read.
    const auto index = [&](std::string_view word, std::size_t count) {
        long long value = 0;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
        if (result.ec != std::errc() || result.ptr != word.data() + word.size())
            fail(tr("\"%1\" is no index").arg(text(word)));
        if (value < 0)
            value += (long long)(count) + 1;
        if (value < 1 || value > (long long)(count))
            fail(tr("the index %1 is out of range, there are %2").arg(text(word)).arg(count));
        return std::uint32_t(value - 1);
    };
    const auto partInUse = [&]() -> Part& {
        if (!part) {
            const QString key = groupName + QLatin1Char('\n') + materialName;
            auto found = partNumbers.find(key);
            if (found == partNumbers.end()) {
                auto made = std::make_unique<Part>();
                made->name = !groupName.isEmpty() ? groupName : materialName;
                const auto material = materials.find(materialName);
                if (material != materials.end())
                    made->surfaces.material = made->lines.material = made->points.material =
                        makeMaterial(material->second);
                made->lines.kind = Geometry::Kind::Lines;
                made->points.kind = Geometry::Kind::Points;
                found = partNumbers.emplace(key, parts.size()).first;
                parts.push_back(std::move(made));
            }
            part = parts[found->second].get();
        }
        return *part;
    };
    constexpr std::uint32_t None = 0xffffffffu;
    const auto corner = [&](Part& target, Geometry& geometry, std::uint32_t vertex, std::uint32_t normal) {
        const std::uint64_t kind = std::uint64_t(geometry.kind);
        // Surfaces, lines and points keep vertices of their own.
        const std::uint64_t key = (std::uint64_t(normal) << 32 | vertex) * 4 + kind;
        const auto entry = target.corners.emplace(key, std::uint32_t(geometry.positions.size() / 3));
        if (entry.second) {
            geometry.positions.insert(geometry.positions.end(), &positions[3 * std::size_t(vertex)],
                                      &positions[3 * std::size_t(vertex)] + 3);
            if (geometry.kind == Geometry::Kind::Surfaces) {
                if (normal != None)
                    geometry.normals.insert(geometry.normals.end(), &normals[3 * std::size_t(normal)],
                                            &normals[3 * std::size_t(normal)] + 3);
            }
            if (3 * std::size_t(vertex) + 2 < colors.size())
                for (int c = 0; c < 3; ++c)
                    geometry.colors.push_back(color16(colors[3 * std::size_t(vertex) + c]));
            if (3 * std::size_t(vertex) + 2 < colors.size())
                geometry.colors.push_back(65535);
        }
        return entry.first->second;
    };

    std::vector<std::uint32_t> polygon;
    std::size_t lineNumber = 0;
    do {
        if ((++lineNumber & 0x3fff) == 0)
            source.report(words.at());
        const std::string_view keyword = words.word();
        if (keyword.empty() || keyword.front() == '#')
            continue;
        if (keyword == "v") {
            known = true;
            for (int i = 0; i < 3; ++i)
                positions.push_back(number(words.word()));
            // Three more numbers are a colour, a single one is a weight.
            const std::string_view red = words.word(), green = words.word(), blue = words.word();
            if (!blue.empty()) {
                colors.resize(positions.size() - 3, 0.8f);
                for (const std::string_view value : {red, green, blue})
                    colors.push_back(number(value));
            }
        } else if (keyword == "vn") {
            for (int i = 0; i < 3; ++i)
                normals.push_back(number(words.word()));
        } else if (keyword == "f" || keyword == "l" || keyword == "p") {
            Part& target = partInUse();
            Geometry& geometry = keyword == "f" ? target.surfaces : keyword == "l" ? target.lines : target.points;
            polygon.clear();
            for (std::string_view word = words.word(); !word.empty(); word = words.word()) {
                const std::size_t slash = word.find('/');
                const std::uint32_t vertex = index(word.substr(0, slash), positions.size() / 3);
                std::uint32_t normal = None;
                if (slash != std::string_view::npos) {
                    const std::size_t second = word.find('/', slash + 1);
                    if (second != std::string_view::npos && second + 1 < word.size())
                        normal = index(word.substr(second + 1), normals.size() / 3);
                }
                polygon.push_back(corner(target, geometry, vertex, normal));
            }
            if (keyword == "f") {
                if (polygon.size() < 3)
                    fail(tr("a face needs three vertices"));
                for (std::size_t i = 2; i < polygon.size(); ++i)
                    geometry.indices.insert(geometry.indices.end(), {polygon[0], polygon[i - 1], polygon[i]});
            } else if (keyword == "l") {
                if (polygon.size() < 2)
                    fail(tr("a line needs two vertices"));
                for (std::size_t i = 1; i < polygon.size(); ++i)
                    geometry.indices.insert(geometry.indices.end(), {polygon[i - 1], polygon[i]});
            } else {
                geometry.indices.insert(geometry.indices.end(), polygon.begin(), polygon.end());
            }
        } else if (keyword == "o" || keyword == "g") {
            groupName = words.rest();
            part = nullptr;
        } else if (keyword == "usemtl") {
            materialName = words.rest();
            part = nullptr;
        } else if (keyword == "mtllib") {
            // Only from the model's own folder, links resolved: a model has no business elsewhere. Nor in pipes and
            // devices, which have no end.
            const QString folder = QFileInfo(QFileInfo(source.fileName).canonicalFilePath()).path();
            const QFileInfo library(QFileInfo(folder, QFileInfo(words.rest()).fileName()).canonicalFilePath());
            if (library.isFile() && library.path() == folder) {
                const auto more = readMaterials(library.filePath());
                materials.insert(more.begin(), more.end());
            }
        } else if (keyword != "vt" && keyword != "s" && keyword != "vp" && !known) {
            fail(tr("\"%1\" is no statement of a Wavefront OBJ file").arg(text(keyword.substr(0, 40))));
        }
    } while (words.nextLine());

    auto root = std::make_unique<SceneElement>(QFileInfo(source.fileName).completeBaseName());
    for (auto& entry : parts) {
        for (Geometry* geometry : {&entry->surfaces, &entry->lines, &entry->points})
            if (!geometry->indices.empty())
                root->addChild(
                    new GeometryElement(entry->name.isEmpty() ? root->getName() : entry->name, std::move(*geometry)));
    }
    if (root->getChildren().empty() && !positions.empty()) {
        // Vertices alone are a point cloud.
        Geometry cloud;
        cloud.kind = Geometry::Kind::Points;
        cloud.positions = std::move(positions);
        for (std::uint32_t i = 0; i < cloud.positions.size() / 3; ++i)
            cloud.indices.push_back(i);
        if (colors.size() == cloud.positions.size())
            for (std::size_t i = 0; i < colors.size(); i += 3) {
                for (std::size_t c = 0; c < 3; ++c)
                    cloud.colors.push_back(color16(colors[i + c]));
                cloud.colors.push_back(65535);
            }
        root->addChild(new GeometryElement(root->getName(), std::move(cloud)));
    }
    return root.release();
}

} // namespace tov::scene
