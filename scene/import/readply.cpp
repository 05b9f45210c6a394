#include "scene/import/readers.h"

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
            throw ReadError(
                tr("line %1: \"%2\" is no number").arg(m_Line).arg(QString::fromLatin1(mp_At, int(wordEnd - mp_At))));
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

/// Where a vertex property goes.
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
    };
    for (const auto& [known, slot] : names)
        if (name == known)
            return slot;
    return SlotNone;
}

} // namespace

SceneElement* readPly(const ReadSource& source)
{
    const char* at = source.begin;
    std::size_t lineNumber = 0;
    const auto nextLine = [&]() -> std::string_view {
        if (at >= source.end)
            throw ReadError(tr("the file ends inside its header"));
        const char* first = at;
        const auto* newline = static_cast<const char*>(std::memchr(at, '\n', std::size_t(source.end - at)));
        // A header line is short; a file without line feeds is none of ours.
        if (!newline || newline - first > 4096)
            throw ReadError(tr("line %1: this is no header of a PLY file").arg(lineNumber + 1));
        at = newline + 1;
        ++lineNumber;
        return std::string_view(first, std::size_t(newline - first));
    };
    const auto fail = [&](const QString& what) { throw ReadError(tr("line %1: %2").arg(lineNumber).arg(what)); };

    if (wordsOf(nextLine()) != std::vector<std::string>{"ply"})
        fail(tr("the file does not begin with \"ply\""));
    Format format = Format::Ascii;
    bool haveFormat = false;
    std::vector<Element> elements;
    for (;;) {
        const auto words = wordsOf(nextLine());
        if (words.empty() || words[0] == "comment" || words[0] == "obj_info")
            continue;
        if (words[0] == "end_header")
            break;
        if (words[0] == "format" && words.size() >= 2) {
            haveFormat = true;
            if (words[1] == "ascii")
                format = Format::Ascii;
            else if (words[1] == "binary_little_endian")
                format = Format::LittleEndian;
            else if (words[1] == "binary_big_endian")
                format = Format::BigEndian;
            else
                fail(tr("the format \"%1\" is unknown").arg(QString::fromStdString(words[1])));
        } else if (words[0] == "element" && words.size() == 3) {
            Element element;
            element.name = words[1];
            const auto result = std::from_chars(words[2].data(), words[2].data() + words[2].size(), element.count);
            if (result.ec != std::errc() || *result.ptr)
                fail(tr("\"%1\" is no count").arg(QString::fromStdString(words[2])));
            elements.push_back(element);
        } else if (words[0] == "property" && !elements.empty()) {
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
            elements.back().properties.push_back(property);
        } else {
            fail(tr("\"%1\" is no statement of a PLY header").arg(QString::fromStdString(words[0].substr(0, 40))));
        }
    }
    if (!haveFormat)
        fail(tr("the header names no format"));

    Body body(format, at, source.end, lineNumber + 1);
    Geometry geometry;
    bool haveFaces = false;
    std::uint64_t vertexCount = 0;
    for (const Element& element : elements) {
        // What the header promises must fit into what is there, before memory is taken for it.
        std::size_t least = 0;
        for (const Property& property : element.properties)
            least += format == Format::Ascii ? 2 : sizeOf(property.isList ? property.countType : property.type);
        if (element.count > 0 &&
            (element.properties.empty() || element.count > body.left() / std::max<std::size_t>(1, least) + 1))
            throw ReadError(tr("the header promises %1 of \"%2\", but the file is too short for them")
                                .arg(element.count)
                                .arg(QString::fromStdString(element.name)));
        const bool isVertex = element.name == "vertex";
        const bool isFace = element.name == "face" || element.name == "tristrips";
        if (isVertex) {
            vertexCount = element.count;
            if (vertexCount > 0xfffffff0u)
                throw ReadError(tr("there are more vertices than can be shown"));
            bool has[SlotNone] = {};
            std::vector<Slot> slots_;
            for (const Property& property : element.properties) {
                slots_.push_back(property.isList ? SlotNone : slotOf(property.name));
                if (slots_.back() != SlotNone)
                    has[slots_.back()] = true;
            }
            if (!has[SlotX] || !has[SlotY] || !has[SlotZ])
                throw ReadError(tr("the vertices have no x, y and z"));
            const bool shaded = has[SlotNX] && has[SlotNY] && has[SlotNZ];
            const bool colored = has[SlotR] && has[SlotG] && has[SlotB];
            geometry.positions.reserve(std::size_t(vertexCount) * 3);
            for (std::uint64_t i = 0; i < vertexCount; ++i) {
                if ((i & 0xffff) == 0)
                    source.report(body.at());
                double values[SlotNone + 1] = {};
                values[SlotA] = 255;
                for (std::size_t k = 0; k < element.properties.size(); ++k) {
                    const Property& property = element.properties[k];
                    if (property.isList) {
                        for (double count = body.read(property.countType); count > 0; --count)
                            body.read(property.type);
                        continue;
                    }
                    double value = body.read(property.type);
                    if (slots_[k] >= SlotR && slots_[k] <= SlotA &&
                        (property.type == Type::Float32 || property.type == Type::Float64))
                        value *= 255;
                    values[slots_[k]] = value;
                }
                for (int axis = 0; axis < 3; ++axis)
                    geometry.positions.push_back(float(values[SlotX + axis]));
                if (shaded)
                    for (int axis = 0; axis < 3; ++axis)
                        geometry.normals.push_back(float(values[SlotNX + axis]));
                if (colored)
                    for (int c = 0; c < 4; ++c) {
                        const double value = values[SlotR + c];
                        const auto byte = std::uint8_t(std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 255.0));
                        geometry.colors.push_back(c < 3 ? linear16(byte) : std::uint16_t(257 * byte));
                    }
            }
            checkFinite(geometry.positions);
            // Smooth ones are made instead.
            if (std::any_of(geometry.normals.begin(), geometry.normals.end(),
                            [](float v) { return !std::isfinite(v); }))
                geometry.normals.clear();
            continue;
        }
        for (std::uint64_t i = 0; i < element.count; ++i) {
            if ((i & 0xffff) == 0)
                source.report(body.at());
            for (const Property& property : element.properties) {
                if (!property.isList) {
                    body.read(property.type);
                    continue;
                }
                const double count = body.read(property.countType);
                const std::size_t least = format == Format::Ascii ? 2 : sizeOf(property.type);
                if (!(count >= 0) || count > double(body.left() / least + 1))
                    throw ReadError(tr("a list promises more entries than the file holds"));
                const bool isPolygon = isFace && (property.name == "vertex_indices" || property.name == "vertex_index");
                std::uint32_t first = 0, previous = 0;
                for (std::size_t k = 0; k < std::size_t(count); ++k) {
                    const double value = body.read(property.type);
                    if (!isPolygon)
                        continue;
                    if (!(value >= 0) || value >= double(vertexCount))
                        throw ReadError(tr("a face names the vertex %1, there are %2").arg(value).arg(vertexCount));
                    const auto current = std::uint32_t(value);
                    if (k == 0)
                        first = current;
                    else if (k >= 2)
                        geometry.indices.insert(geometry.indices.end(), {first, previous, current});
                    previous = current;
                }
                haveFaces = haveFaces || (isPolygon && count >= 3);
            }
        }
    }
    if (!haveFaces) {
        geometry.kind = Geometry::Kind::Points;
        geometry.indices.resize(geometry.positions.size() / 3);
        for (std::size_t i = 0; i < geometry.indices.size(); ++i)
            geometry.indices[i] = std::uint32_t(i);
    }
    auto root = std::make_unique<SceneElement>(QFileInfo(source.fileName).completeBaseName());
    for (std::size_t i = 3; i < geometry.colors.size() && !geometry.material; i += 4)
        if (geometry.colors[i] != 65535) {
            auto material = std::make_shared<Material>(*makeMaterial(Qt::white));
            material->alphaMode = Material::AlphaMode::Blend;
            geometry.material = std::move(material);
        }
    if (!geometry.indices.empty())
        root->addChild(new GeometryElement(root->getName(), std::move(geometry)));
    return root.release();
}

} // namespace tov::scene
