#include "scene/import/readers.h"
#include "scene/import/texturelist.h"
#include "scene/import/triangulate.h"
#include "scene/model.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <charconv>
#include <memory>

namespace tov::scene {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

enum class Type
{
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Float32,
    Float64,
};

struct Property
{
    std::string name;
    Type type = Type::Float32;
    bool isList = false;
    Type countType = Type::UInt8;
};

struct Element
{
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
};

enum class Format
{
    Ascii,
    LittleEndian,
    BigEndian,
};

std::size_t sizeOf(Type type)
{
    switch (type) {
    case Type::Int8:
    case Type::UInt8:
        return 1;
    case Type::Int16:
    case Type::UInt16:
        return 2;
    case Type::Float64:
        return 8;
    default:
        return 4;
    }
}

bool typeOf(std::string_view word, Type& type)
{
    static const std::pair<const char*, Type> names[] = {
        {"char", Type::Int8},     {"int8", Type::Int8},       {"uchar", Type::UInt8},    {"uint8", Type::UInt8},
        {"short", Type::Int16},   {"int16", Type::Int16},     {"ushort", Type::UInt16},  {"uint16", Type::UInt16},
        {"int", Type::Int32},     {"int32", Type::Int32},     {"uint", Type::UInt32},    {"uint32", Type::UInt32},
        {"float", Type::Float32}, {"float32", Type::Float32}, {"double", Type::Float64}, {"float64", Type::Float64},
    };
    for (const auto& [name, value] : names)
        if (word == name) {
            type = value;
            return true;
        }
    return false;
}

/// Reads the values of the body one after the other.
class Body
{
    Q_DECLARE_TR_FUNCTIONS(tov::scene::Body)
public:
    Body(Format format, const char* at, const char* end, std::size_t line)
        : m_Format(format), mp_At(at), mp_End(end), m_Line(line)
    {}
    const char* at() const { return mp_At; }
    std::size_t left() const { return std::size_t(mp_End - mp_At); }
    Format format() const { return m_Format; }

    double read(Type type)
    {
        if (m_Format == Format::Ascii)
            return readText();
        const std::size_t size = sizeOf(type);
        if (left() < size)
            throw ReadError(tr("the file ends in the middle of its data"));
        unsigned char bytes[8];
        std::memcpy(bytes, mp_At, size);
        mp_At += size;
        const bool swap = (m_Format == Format::BigEndian) == (std::endian::native == std::endian::little);
        if (swap)
            for (std::size_t i = 0; i < size / 2; ++i)
                std::swap(bytes[i], bytes[size - 1 - i]);
        switch (type) {
        case Type::Int8:
            return as<std::int8_t>(bytes);
        case Type::UInt8:
            return as<std::uint8_t>(bytes);
        case Type::Int16:
            return as<std::int16_t>(bytes);
        case Type::UInt16:
            return as<std::uint16_t>(bytes);
        case Type::Int32:
            return as<std::int32_t>(bytes);
        case Type::UInt32:
            return as<std::uint32_t>(bytes);
        case Type::Float32:
            return as<float>(bytes);
        default:
            return as<double>(bytes);
        }
    }

private:
    template <typename T>
    static double as(const unsigned char* bytes)
    {
        T value;
        std::memcpy(&value, bytes, sizeof value);
        return double(value);
    }

    double readText()
    {
        while (mp_At < mp_End && std::isspace(static_cast<unsigned char>(*mp_At)))
            m_Line += *mp_At++ == '\n';
        if (mp_At >= mp_End)
            throw ReadError(tr("line %1: the file ends in the middle of its data").arg(m_Line));
        if (*mp_At == '+')
            ++mp_At;
        double value = 0;
        const auto result = std::from_chars(mp_At, mp_End, value);
        if (result.ec != std::errc() ||
            (result.ptr < mp_End && !std::isspace(static_cast<unsigned char>(*result.ptr)))) {
            const char* wordEnd = mp_At;
            while (wordEnd < mp_End && !std::isspace(static_cast<unsigned char>(*wordEnd)) && wordEnd - mp_At < 40)
                ++wordEnd;
            throw ReadError(tr("line %1: \"%2\" is not a number")
                                .arg(m_Line)
                                .arg(QString::fromLatin1(mp_At, int(wordEnd - mp_At))));
        }
        mp_At = result.ptr;
        return value;
    }

    Format m_Format;
    const char* mp_At;
    const char* mp_End;
    std::size_t m_Line;
};

std::vector<std::string> wordsOf(std::string_view line)
{
    std::vector<std::string> words;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r'))
            ++i;
        std::size_t first = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r')
            ++i;
        if (i > first)
            words.emplace_back(line.substr(first, i - first));
    }
    return words;
}

/// The value that a vertex property sets.
enum Slot
{
    SlotX,
    SlotY,
    SlotZ,
    SlotNX,
    SlotNY,
    SlotNZ,
    SlotR,
    SlotG,
    SlotB,
    SlotA,
    SlotU,
    SlotV,
    SlotNone,
};

Slot slotOf(const std::string& name)
{
    static const std::pair<const char*, Slot> names[] = {
        {"x", SlotX},
        {"y", SlotY},
        {"z", SlotZ},
        {"nx", SlotNX},
        {"ny", SlotNY},
        {"nz", SlotNZ},
        {"red", SlotR},
        {"green", SlotG},
        {"blue", SlotB},
        {"alpha", SlotA},
        {"diffuse_red", SlotR},
        {"diffuse_green", SlotG},
        {"diffuse_blue", SlotB},
        {"diffuse_alpha", SlotA},
        {"r", SlotR},
        {"g", SlotG},
        {"b", SlotB},
        {"a", SlotA},
        {"u", SlotU},
        {"v", SlotV},
        {"s", SlotU},
        {"t", SlotV},
        {"texture_u", SlotU},
        {"texture_v", SlotV},
    };
    for (const auto& [known, slot] : names)
        if (name == known)
            return slot;
    return SlotNone;
}

std::uint16_t color16(double value, bool isAlpha)
{
    const auto byte = std::uint8_t(std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 255.0));
    return isAlpha ? std::uint16_t(257 * byte) : linear16(byte);
}

class PlyReader
{
public:
    explicit PlyReader(const ReadSource& source) : m_Source(source), mp_At(source.begin) {}
    SceneElement* read();

private:
    /// The values of a vertex or face, by slot; 255 is full intensity.
    typedef std::array<double, SlotNone + 1> Values;

    [[noreturn]] void fail(const QString& what) const
    {
        throw ReadError(tr("line %1: %2").arg(QString::number(m_LineNumber), what));
    }
    std::string_view nextLine();
    void readHeader();
    void readFormat(const std::string& name);
    void readElement(const std::vector<std::string>& words);
    void readProperty(const std::vector<std::string>& words);
    void checkCount(const Element& element, const Body& body) const;
    void readVertices(const Element& element, Body& body);
    void addVertex(const Values& values, bool isShaded, bool isColored, bool isMapped);
    void readFaces(const Element& element, Body& body);
    void readList(const Property& property, bool isFace, Body& body);
    void addFace(const Values& values, bool isColored);
    void colorFaces();
    std::shared_ptr<const Material> material(QStringList& warnings) const;
    static double scaled(const Property& property, Slot slot, double value);

    const ReadSource& m_Source;
    const char* mp_At;
    std::size_t m_LineNumber = 0;
    Format m_Format = Format::Ascii;
    bool m_HasFormat = false;
    std::vector<Element> m_Elements;
    QString m_TextureFile;
    Geometry m_Geometry;
    std::uint64_t m_VertexCount = 0;
    bool m_HasFaces = false;
    std::vector<std::uint32_t> m_Polygon, m_Triangles;
    std::vector<std::array<double, 3>> m_Corners;
    std::vector<std::array<std::uint16_t, 4>> m_FaceColors; ///< one per triangle; empty: none
};

std::string_view PlyReader::nextLine()
{
    if (mp_At >= m_Source.end)
        throw ReadError(tr("the file ends inside its header"));
    const char* first = mp_At;
    const auto* newline = static_cast<const char*>(std::memchr(mp_At, '\n', std::size_t(m_Source.end - mp_At)));
    // Header lines are short; a file without line feeds is another format.
    if (!newline || newline - first > 4096)
        throw ReadError(tr("line %1: not a valid PLY header line").arg(m_LineNumber + 1));
    mp_At = newline + 1;
    ++m_LineNumber;
    return std::string_view(first, std::size_t(newline - first));
}

void PlyReader::readFormat(const std::string& name)
{
    m_HasFormat = true;
    if (name == "ascii")
        m_Format = Format::Ascii;
    else if (name == "binary_little_endian")
        m_Format = Format::LittleEndian;
    else if (name == "binary_big_endian")
        m_Format = Format::BigEndian;
    else
        fail(tr("the format \"%1\" is unknown").arg(QString::fromStdString(name)));
}

void PlyReader::readElement(const std::vector<std::string>& words)
{
    Element element;
    element.name = words[1];
    const auto result = std::from_chars(words[2].data(), words[2].data() + words[2].size(), element.count);
    if (result.ec != std::errc() || *result.ptr)
        fail(tr("\"%1\" is not a count").arg(QString::fromStdString(words[2])));
    m_Elements.push_back(element);
}

void PlyReader::readProperty(const std::vector<std::string>& words)
{
    Property property;
    bool ok = false;
    if (words.size() == 5 && words[1] == "list") {
        property.isList = true;
        ok = typeOf(words[2], property.countType) && typeOf(words[3], property.type);
    } else if (words.size() == 3) {
        ok = typeOf(words[1], property.type);
    }
    if (!ok)
        fail(tr("this property cannot be read"));
    property.name = words.back();
    m_Elements.back().properties.push_back(property);
}

/// Lines of unknown meaning are skipped, as other programs do.
void PlyReader::readHeader()
{
    if (wordsOf(nextLine()) != std::vector<std::string>{"ply"})
        fail(tr("the file does not begin with \"ply\""));
    for (;;) {
        const std::string_view line = nextLine();
        const auto words = wordsOf(line);
        if (words.empty())
            continue;
        if (words[0] == "end_header")
            break;
        if (words[0] == "comment" && words.size() > 2 && words[1] == "TextureFile")
            m_TextureFile =
                QString::fromUtf8(line.data(), int(line.size())).section(QStringLiteral("TextureFile"), 1).trimmed();
        else if (words[0] == "format" && words.size() >= 2)
            readFormat(words[1]);
        else if (words[0] == "element" && words.size() == 3)
            readElement(words);
        else if (words[0] == "property" && !m_Elements.empty())
            readProperty(words);
    }
    if (!m_HasFormat)
        fail(tr("the header has no format line"));
}

/// Checks that the rest of the file is large enough for what the header declares, before memory is allocated.
void PlyReader::checkCount(const Element& element, const Body& body) const
{
    std::size_t least = 0;
    for (const Property& property : element.properties)
        least += m_Format == Format::Ascii ? 2 : sizeOf(property.isList ? property.countType : property.type);
    if (element.count > 0 &&
        (element.properties.empty() || element.count > body.left() / std::max<std::size_t>(1, least) + 1))
        throw ReadError(tr("the header declares %1 of \"%2\", but the file is too short for them")
                            .arg(QString::number(element.count), QString::fromStdString(element.name)));
}

double PlyReader::scaled(const Property& property, Slot slot, double value)
{
    const bool isFraction = property.type == Type::Float32 || property.type == Type::Float64;
    return slot >= SlotR && slot <= SlotA && isFraction ? 255 * value : value;
}

void PlyReader::addVertex(const Values& values, bool isShaded, bool isColored, bool isMapped)
{
    if (m_Geometry.positions.empty())
        m_Geometry.origin = originFor(values.data());
    for (std::size_t axis = 0; axis < 3; ++axis)
        m_Geometry.positions.push_back(float(values[axis] - m_Geometry.origin[axis]));
    if (isShaded)
        for (std::size_t axis = 0; axis < 3; ++axis)
            m_Geometry.normals.push_back(float(values[SlotNX + axis]));
    if (isColored)
        for (std::size_t c = 0; c < 4; ++c)
            m_Geometry.colors.push_back(color16(values[SlotR + c], c == 3));
    if (isMapped)
        m_Geometry.uv[0].insert(m_Geometry.uv[0].end(), {float(values[SlotU]), 1 - float(values[SlotV])});
}

void PlyReader::readVertices(const Element& element, Body& body)
{
    m_VertexCount = element.count;
    if (m_VertexCount > 0xfffffff0u)
        throw ReadError(tr("there are more vertices than can be shown"));
    std::array<bool, SlotNone + 1> has{};
    std::vector<Slot> places;
    for (const Property& property : element.properties) {
        places.push_back(property.isList ? SlotNone : slotOf(property.name));
        has[places.back()] = true;
    }
    if (!has[SlotX] || !has[SlotY] || !has[SlotZ])
        throw ReadError(tr("the vertices have no x, y and z"));
    const bool isShaded = has[SlotNX] && has[SlotNY] && has[SlotNZ];
    const bool isColored = has[SlotR] && has[SlotG] && has[SlotB], isMapped = has[SlotU] && has[SlotV];
    m_Geometry.positions.reserve(std::size_t(m_VertexCount) * 3);
    for (std::uint64_t i = 0; i < m_VertexCount; ++i) {
        if ((i & 0xffff) == 0)
            m_Source.report(body.at());
        Values values{};
        values[SlotA] = 255;
        for (std::size_t k = 0; k < element.properties.size(); ++k) {
            const Property& property = element.properties[k];
            if (property.isList)
                readList(property, false, body);
            else
                values[places[k]] = scaled(property, places[k], body.read(property.type));
        }
        addVertex(values, isShaded, isColored, isMapped);
    }
    checkFinite(m_Geometry.positions);
    // Normals are computed instead, texture coordinates left out.
    for (std::vector<float>* array : {&m_Geometry.normals, &m_Geometry.uv[0]})
        if (std::any_of(array->begin(), array->end(), [](float value) { return !std::isfinite(value); }))
            array->clear();
}

/// Reads a list; that of a face becomes `m_Polygon`.
void PlyReader::readList(const Property& property, bool isFace, Body& body)
{
    const double count = body.read(property.countType);
    const std::size_t least = m_Format == Format::Ascii ? 2 : sizeOf(property.type);
    const std::size_t most = body.left() / least + 1;
    if (!(count >= 0) || count > double(most))
        throw ReadError(tr("a list declares more entries than the file contains"));
    const bool isPolygon = isFace && (property.name == "vertex_indices" || property.name == "vertex_index");
    for (std::size_t k = 0; k < std::size_t(count); ++k) {
        const double value = body.read(property.type);
        if (!isPolygon)
            continue;
        if (!(value >= 0) || value >= double(m_VertexCount))
            throw ReadError(tr("a face refers to vertex %1, but there are only %2")
                                .arg(QString::number(value), QString::number(m_VertexCount)));
        m_Polygon.push_back(std::uint32_t(value));
    }
}

void PlyReader::addFace(const Values& values, bool isColored)
{
    if (m_Polygon.size() < 3)
        return;
    m_HasFaces = true;
    m_Triangles.clear();
    m_Corners.clear();
    for (const std::uint32_t vertex : m_Polygon) {
        const float* at = &m_Geometry.positions[3 * std::size_t(vertex)];
        m_Corners.push_back({double(at[0]), double(at[1]), double(at[2])});
    }
    triangulate(m_Corners, m_Triangles);
    for (const std::uint32_t corner : m_Triangles)
        m_Geometry.indices.push_back(m_Polygon[corner]);
    if (isColored)
        m_FaceColors.resize(m_Geometry.indices.size() / 3,
                            {color16(values[SlotR], false), color16(values[SlotG], false),
                             color16(values[SlotB], false), color16(values[SlotA], true)});
}

void PlyReader::readFaces(const Element& element, Body& body)
{
    const bool isFace = element.name == "face";
    std::array<bool, SlotNone + 1> has{};
    std::vector<Slot> places;
    for (const Property& property : element.properties) {
        places.push_back(property.isList || !isFace ? SlotNone : slotOf(property.name));
        has[places.back()] = true;
    }
    const bool isColored = has[SlotR] && has[SlotG] && has[SlotB];
    for (std::uint64_t i = 0; i < element.count; ++i) {
        if ((i & 0xffff) == 0)
            m_Source.report(body.at());
        Values values{};
        values[SlotA] = 255;
        m_Polygon.clear();
        for (std::size_t k = 0; k < element.properties.size(); ++k) {
            const Property& property = element.properties[k];
            if (property.isList)
                readList(property, isFace, body);
            else
                values[places[k]] = scaled(property, places[k], body.read(property.type));
        }
        addFace(values, isColored);
    }
}

/// Gives each triangle vertices of its own with the colour of its face.
void PlyReader::colorFaces()
{
    if (m_FaceColors.empty() || !m_Geometry.colors.empty())
        return;
    Geometry split;
    split.origin = m_Geometry.origin;
    for (std::size_t i = 0; i < m_Geometry.indices.size(); ++i) {
        const std::size_t from = m_Geometry.indices[i];
        const auto copy = [from](const std::vector<float>& source, std::size_t each, std::vector<float>& target) {
            if (!source.empty())
                target.insert(target.end(), &source[each * from], &source[each * from] + each);
        };
        copy(m_Geometry.positions, 3, split.positions);
        copy(m_Geometry.normals, 3, split.normals);
        copy(m_Geometry.uv[0], 2, split.uv[0]);
        split.indices.push_back(std::uint32_t(i));
        const auto& color = m_FaceColors[std::min(i / 3, m_FaceColors.size() - 1)];
        split.colors.insert(split.colors.end(), color.begin(), color.end());
    }
    m_Geometry = std::move(split);
}

std::shared_ptr<const Material> PlyReader::material(QStringList& warnings) const
{
    const auto& colors = m_Geometry.colors;
    bool isTransparent = false;
    for (std::size_t i = 3; i < colors.size() && !isTransparent; i += 4)
        isTransparent = colors[i] != 65535;
    if (!isTransparent && m_TextureFile.isEmpty())
        return nullptr;
    auto material = std::make_shared<Material>(*makeMaterial(Qt::white));
    material->alphaMode = isTransparent ? Material::AlphaMode::Blend : Material::AlphaMode::Opaque;
    if (!m_TextureFile.isEmpty()) {
        TextureList textures;
        const int number =
            textures.add(TextureList::Use::Color, m_TextureFile, QString(), QStringLiteral("the header"));
        textures.decode(m_Source, warnings);
        material->baseColorTexture.image = textures.image(number);
    }
    return material;
}

SceneElement* PlyReader::read()
{
    readHeader();
    Body body(m_Format, mp_At, m_Source.end, m_LineNumber + 1);
    for (const Element& element : m_Elements) {
        checkCount(element, body);
        if (element.name == "vertex")
            readVertices(element, body);
        else
            readFaces(element, body);
    }
    if (!m_HasFaces) {
        m_Geometry.kind = Geometry::Kind::Points;
        m_Geometry.indices.resize(m_Geometry.vertexCount());
        for (std::size_t i = 0; i < m_Geometry.indices.size(); ++i)
            m_Geometry.indices[i] = std::uint32_t(i);
    }
    colorFaces();
    auto root = std::make_unique<SceneElement>(QFileInfo(m_Source.fileName).completeBaseName());
    auto data = std::make_shared<ModelData>();
    m_Geometry.material = material(data->warnings);
    root->setModelData(std::move(data));
    if (!m_Geometry.indices.empty())
        root->addChild(new GeometryElement(root->getName(), std::move(m_Geometry)));
    return root.release();
}

} // namespace

SceneElement* readPly(const ReadSource& source)
{
    return PlyReader(source).read();
}

} // namespace tov::scene
