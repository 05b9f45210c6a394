#include "scene/import/objmaterials.h"
#include "scene/import/readers.h"
#include "scene/import/triangulate.h"
#include "scene/model.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <vector>

namespace tov::scene {

namespace {

constexpr std::uint32_t None = 0xffffffffu;
constexpr qint64 MaxLibraryBytes = 64 << 20;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

/// Reads the words of a text file and counts lines.
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
    /// The rest of this line, without blanks around it.
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

/// An sRGB colour value from 0 to 1 as a linear one.
std::uint16_t color16(float value)
{
    return std::uint16_t(std::lround(linearFromSrgb(std::clamp(value, 0.0f, 1.0f)) * 65535));
}

/// A corner of a face: indices into the lists of the file.
struct Corner
{
    std::uint32_t vertex = None;
    std::uint32_t uv = None;
    std::uint32_t normal = None;
    bool operator==(const Corner& other) const = default;
};

/// Corners to vertices of a part: a hash table with open addressing.
class CornerTable
{
public:
    /// The number of the corner; `next` when it is new.
    std::uint32_t add(const Corner& corner, std::uint32_t next)
    {
        if (2 * (m_Count + 1) > m_Entries.size())
            grow();
        Entry& entry = m_Entries[place(corner)];
        if (entry.number == None) {
            entry = {corner, next};
            ++m_Count;
        }
        return entry.number;
    }

private:
    struct Entry
    {
        Corner corner;
        std::uint32_t number = None;
    };
    std::size_t place(const Corner& corner) const
    {
        std::uint64_t hash =
            corner.vertex * 0x9e3779b97f4a7c15u + corner.uv * 0xc2b2ae3d27d4eb4fu + corner.normal * 0x165667b19e3779f9u;
        hash ^= hash >> 29;
        std::size_t at = std::size_t(hash) & (m_Entries.size() - 1);
        while (m_Entries[at].number != None && !(m_Entries[at].corner == corner))
            at = (at + 1) & (m_Entries.size() - 1);
        return at;
    }
    void grow()
    {
        std::vector<Entry> old(std::max<std::size_t>(64, 2 * m_Entries.size()));
        old.swap(m_Entries);
        for (const Entry& entry : old)
            if (entry.number != None)
                m_Entries[place(entry.corner)] = entry;
    }

    std::vector<Entry> m_Entries;
    std::size_t m_Count = 0;
};

/// The part of a model with one name and one material; surfaces, lines or points of it.
struct Mesh
{
    Geometry geometry;
    CornerTable corners;
    bool hasUv = false;
    bool lacksNormals = false;
};

struct Part
{
    QString name;
    QString material;
    std::array<Mesh, 3> meshes; ///< by the corners of a primitive, less 1
};

class ObjReader
{
public:
    explicit ObjReader(const ReadSource& source) : m_Source(source), m_Words(source.begin, source.end) {}
    SceneElement* read();

private:
    [[noreturn]] void fail(const QString& what) const
    {
        throw ReadError(tr("line %1: %2").arg(QString::number(m_Words.line()), what));
    }
    static QString text(std::string_view word) { return QString::fromUtf8(word.data(), int(word.size())); }
    template <typename T>
    T number(std::string_view word) const;
    std::uint32_t index(std::string_view word, std::size_t count) const;

    void readLine();
    void readVertex();
    void readPolygon(unsigned int kind);
    Corner readCorner(std::string_view word) const;
    void readLibraries();
    void readLibrary(const QString& name);
    Part& part();
    std::uint32_t addCorner(Mesh& mesh, const Corner& corner);
    void addColor(Geometry& geometry, std::size_t vertex) const;
    void addSurface(Mesh& mesh);

    void addPointCloud(SceneElement& root) const;
    void addParts(SceneElement& root);

    const ReadSource& m_Source;
    Words m_Words;
    std::vector<double> m_Positions;
    std::array<double, 3> m_Origin = {0, 0, 0}; ///< of all geometries; `originFor` the first vertex
    std::vector<float> m_Normals, m_Uv, m_Colors;
    ObjMaterials m_Materials;
    QStringList m_Warnings;
    std::map<QString, std::size_t> m_PartNumbers;
    std::vector<std::unique_ptr<Part>> m_Parts;
    Part* mp_Part = nullptr;
    QString m_Group, m_MaterialName;
    bool m_Known = false; ///< a statement of this format has been read
    std::vector<Corner> m_Polygon;
    std::vector<std::array<double, 3>> m_PolygonPositions;
    std::vector<std::uint32_t> m_PolygonNumbers, m_Triangles;
};

template <typename T>
T ObjReader::number(std::string_view word) const
{
    const std::string_view whole = word;
    if (!word.empty() && word.front() == '+')
        word.remove_prefix(1);
    T value = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size() || !std::isfinite(float(value)))
        fail(whole.empty() ? tr("a number is missing") : tr("\"%1\" is not a number").arg(text(whole)));
    return value;
}

/// Indices count from 1, negative ones from the last element read so far.
std::uint32_t ObjReader::index(std::string_view word, std::size_t count) const
{
    long long value = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size())
        fail(tr("\"%1\" is not an index").arg(text(word)));
    if (value < 0)
        value += (long long)(count) + 1;
    if (value < 1 || value > (long long)(count))
        fail(tr("the index %1 is out of range; there are %2").arg(text(word), QString::number(count)));
    return std::uint32_t(value - 1);
}

void ObjReader::readVertex()
{
    m_Known = true;
    for (int i = 0; i < 3; ++i)
        m_Positions.push_back(number<double>(m_Words.word()));
    if (m_Positions.size() == 3)
        m_Origin = originFor(m_Positions.data());
    // Three further numbers are a colour, a single one is a weight.
    const std::string_view red = m_Words.word(), green = m_Words.word(), blue = m_Words.word();
    if (blue.empty())
        return;
    m_Colors.resize(m_Positions.size() - 3, 0.8f);
    for (const std::string_view value : {red, green, blue})
        m_Colors.push_back(number<float>(value));
}

Part& ObjReader::part()
{
    if (mp_Part)
        return *mp_Part;
    const QString key = m_Group + QLatin1Char('\n') + m_MaterialName;
    auto found = m_PartNumbers.find(key);
    if (found == m_PartNumbers.end()) {
        auto made = std::make_unique<Part>();
        made->name = !m_Group.isEmpty() ? m_Group : m_MaterialName;
        made->material = m_MaterialName;
        m_Materials.use(m_MaterialName);
        for (std::size_t i = 0; i < 3; ++i)
            made->meshes[i].geometry.kind = Geometry::Kind(i + 1);
        found = m_PartNumbers.emplace(key, m_Parts.size()).first;
        m_Parts.push_back(std::move(made));
    }
    mp_Part = m_Parts[found->second].get();
    return *mp_Part;
}

Corner ObjReader::readCorner(std::string_view word) const
{
    Corner corner;
    const std::size_t slash = word.find('/');
    corner.vertex = index(word.substr(0, slash), m_Positions.size() / 3);
    if (slash == std::string_view::npos)
        return corner;
    const std::size_t second = word.find('/', slash + 1);
    const std::string_view uv = word.substr(slash + 1, second == std::string_view::npos ? second : second - slash - 1);
    if (!uv.empty())
        corner.uv = index(uv, m_Uv.size() / 2);
    if (second != std::string_view::npos && second + 1 < word.size())
        corner.normal = index(word.substr(second + 1), m_Normals.size() / 3);
    return corner;
}

void ObjReader::addColor(Geometry& geometry, std::size_t vertex) const
{
    if (3 * vertex + 2 >= m_Colors.size())
        return;
    for (std::size_t c = 0; c < 3; ++c)
        geometry.colors.push_back(color16(m_Colors[3 * vertex + c]));
    geometry.colors.push_back(65535);
}

std::uint32_t ObjReader::addCorner(Mesh& mesh, const Corner& corner)
{
    Geometry& geometry = mesh.geometry;
    const auto next = std::uint32_t(geometry.positions.size() / 3);
    const std::uint32_t number = mesh.corners.add(corner, next);
    if (number != next)
        return number;
    const double* position = &m_Positions[3 * std::size_t(corner.vertex)];
    geometry.positions.insert(
        geometry.positions.end(),
        {float(position[0] - m_Origin[0]), float(position[1] - m_Origin[1]), float(position[2] - m_Origin[2])});
    if (geometry.kind == Geometry::Kind::Surfaces) {
        static const float noNormal[3] = {0, 0, 0};
        const float* normal = corner.normal == None ? noNormal : &m_Normals[3 * std::size_t(corner.normal)];
        geometry.normals.insert(geometry.normals.end(), normal, normal + 3);
        mesh.lacksNormals = mesh.lacksNormals || corner.normal == None;
    }
    static const float noUv[2] = {0, 0};
    const float* uv = corner.uv == None ? noUv : &m_Uv[2 * std::size_t(corner.uv)];
    geometry.uv[0].insert(geometry.uv[0].end(), uv, uv + 2);
    mesh.hasUv = mesh.hasUv || corner.uv != None;
    addColor(geometry, corner.vertex);
    return number;
}

void ObjReader::addSurface(Mesh& mesh)
{
    auto& indices = mesh.geometry.indices;
    if (m_PolygonNumbers.size() == 3) {
        indices.insert(indices.end(), m_PolygonNumbers.begin(), m_PolygonNumbers.end());
        return;
    }
    m_PolygonPositions.clear();
    for (const Corner& corner : m_Polygon) {
        const double* at = &m_Positions[3 * std::size_t(corner.vertex)];
        m_PolygonPositions.push_back({at[0], at[1], at[2]});
    }
    m_Triangles.clear();
    triangulate(m_PolygonPositions, m_Triangles);
    for (const std::uint32_t corner : m_Triangles)
        indices.push_back(m_PolygonNumbers[corner]);
}

void ObjReader::readPolygon(unsigned int kind)
{
    m_Polygon.clear();
    for (std::string_view word = m_Words.word(); !word.empty(); word = m_Words.word())
        m_Polygon.push_back(readCorner(word));
    if (m_Polygon.size() < kind)
        fail(kind == 3 ? tr("a face needs three vertices") : tr("a line needs two vertices"));
    Mesh& mesh = part().meshes[kind - 1];
    m_PolygonNumbers.clear();
    for (const Corner& corner : m_Polygon)
        m_PolygonNumbers.push_back(addCorner(mesh, corner));
    auto& indices = mesh.geometry.indices;
    if (kind == 3)
        addSurface(mesh);
    else if (kind == 1)
        indices.insert(indices.end(), m_PolygonNumbers.begin(), m_PolygonNumbers.end());
    else
        for (std::size_t i = 1; i < m_PolygonNumbers.size(); ++i)
            indices.insert(indices.end(), {m_PolygonNumbers[i - 1], m_PolygonNumbers[i]});
}

/// Only from the model's own folder, links resolved; neither from pipes nor from devices, which have no end.
void ObjReader::readLibrary(const QString& name)
{
    const QDir folder(QFileInfo(QFileInfo(m_Source.fileName).canonicalFilePath()).path());
    const QString base = QFileInfo(QString(name).replace(QLatin1Char('\\'), QLatin1Char('/'))).fileName();
    QFileInfo library(QFileInfo(folder, base).canonicalFilePath());
    if (!library.exists() && !base.isEmpty())
        for (const QString& entry : folder.entryList(QDir::Files))
            if (entry.compare(base, Qt::CaseInsensitive) == 0)
                library = QFileInfo(QFileInfo(folder, entry).canonicalFilePath());
    QFile file(library.filePath());
    if (!library.isFile() || library.path() != folder.path() || library.size() > MaxLibraryBytes ||
        !file.open(QIODevice::ReadOnly)) {
        m_Warnings << tr("the material library '%1' (line %2) is missing")
                          .arg(name.simplified(), QString::number(m_Words.line()));
        return;
    }
    m_Materials.read(file.readAll());
}

void ObjReader::readLibraries()
{
    const QString names = m_Words.rest();
    // The rest of the line is one name with blanks, or several names.
    const QStringList words = names.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const bool areSeveral = words.size() > 1 && std::all_of(words.begin(), words.end(), [](const QString& word) {
                                return word.endsWith(QLatin1String(".mtl"), Qt::CaseInsensitive);
                            });
    if (!areSeveral) {
        readLibrary(names);
        return;
    }
    for (const QString& word : words)
        readLibrary(word);
}

void ObjReader::readLine()
{
    const std::string_view keyword = m_Words.word();
    if (keyword.empty() || keyword.front() == '#')
        return;
    if (keyword == "v") {
        readVertex();
    } else if (keyword == "vn") {
        for (int i = 0; i < 3; ++i)
            m_Normals.push_back(number<float>(m_Words.word()));
    } else if (keyword == "vt") {
        const float u = number<float>(m_Words.word());
        const std::string_view second = m_Words.word();
        m_Uv.insert(m_Uv.end(), {u, 1 - (second.empty() ? 0 : number<float>(second))});
    } else if (keyword == "f" || keyword == "l" || keyword == "p") {
        readPolygon(keyword == "f" ? 3 : keyword == "l" ? 2 : 1);
    } else if (keyword == "o" || keyword == "g") {
        m_Group = m_Words.rest();
        mp_Part = nullptr;
    } else if (keyword == "usemtl") {
        m_MaterialName = m_Words.rest();
        mp_Part = nullptr;
    } else if (keyword == "mtllib") {
        readLibraries();
    } else if (keyword != "s" && keyword != "vp" && !m_Known) {
        fail(tr("\"%1\" is not a statement of a Wavefront OBJ file").arg(text(keyword.substr(0, 40))));
    }
}

void ObjReader::addParts(SceneElement& root)
{
    for (const auto& entry : m_Parts)
        for (const std::size_t kind : {2u, 1u, 0u}) {
            Mesh& mesh = entry->meshes[kind];
            if (mesh.geometry.indices.empty())
                continue;
            if (mesh.lacksNormals)
                mesh.geometry.normals.clear();
            if (!mesh.hasUv)
                mesh.geometry.uv[0].clear();
            if (mesh.geometry.colors.size() != 4 * mesh.geometry.vertexCount())
                mesh.geometry.colors.clear();
            mesh.geometry.origin = m_Origin;
            mesh.geometry.material = m_Materials.material(entry->material);
            root.addChild(
                new GeometryElement(entry->name.isEmpty() ? root.getName() : entry->name, std::move(mesh.geometry)));
        }
}

/// Vertices alone are a point cloud.
void ObjReader::addPointCloud(SceneElement& root) const
{
    Geometry cloud;
    cloud.kind = Geometry::Kind::Points;
    cloud.origin = m_Origin;
    for (std::size_t i = 0; i < m_Positions.size(); ++i)
        cloud.positions.push_back(float(m_Positions[i] - m_Origin[i % 3]));
    for (std::uint32_t i = 0; i < cloud.vertexCount(); ++i) {
        cloud.indices.push_back(i);
        if (m_Colors.size() == m_Positions.size())
            addColor(cloud, i);
    }
    root.addChild(new GeometryElement(root.getName(), std::move(cloud)));
}

SceneElement* ObjReader::read()
{
    std::size_t lineNumber = 0;
    do {
        if ((++lineNumber & 0x3fff) == 0)
            m_Source.report(m_Words.at());
        readLine();
    } while (m_Words.nextLine());
    m_Materials.convert(m_Source, m_Warnings);
    auto root = std::make_unique<SceneElement>(QFileInfo(m_Source.fileName).completeBaseName());
    auto data = std::make_shared<ModelData>();
    data->warnings = m_Warnings;
    root->setModelData(std::move(data));
    addParts(*root);
    if (root->getChildren().empty() && !m_Positions.empty())
        addPointCloud(*root);
    return root.release();
}

} // namespace

SceneElement* readObj(const ReadSource& source)
{
    return ObjReader(source).read();
}

} // namespace tov::scene
