#include "scene/import/streamreader.h"

#include "scene/import/meshstream.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tov::scene {

namespace {

using namespace stream;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

/// Groups of four joints per vertex; real models have up to four.
constexpr std::uint32_t MaxJointGroups = 64;

[[noreturn]] void failIncomplete()
{
    throw ReadError(tr("the importer's output is incomplete"));
}

/// Reads values one after the other and never beyond the end.
class Cursor
{
public:
    Cursor(const char* data, std::size_t size) : mp_At(data), m_Left(size) {}
    const char* take(std::uint64_t count, std::uint64_t size)
    {
        if (size != 0 && count > m_Left / size)
            failIncomplete();
        const char* begin = mp_At;
        mp_At += count * size;
        m_Left -= std::size_t(count * size);
        return begin;
    }
    template <typename T>
    T take()
    {
        T value;
        std::memcpy(&value, take(1, sizeof(T)), sizeof(T));
        return value;
    }
    /// `count` times `each` values.
    template <typename T>
    std::vector<T> takeMany(std::uint64_t count, std::uint64_t each = 1)
    {
        const char* begin = take(count, each * sizeof(T));
        std::vector<T> values(std::size_t(count * each));
        if (!values.empty())
            std::memcpy(values.data(), begin, values.size() * sizeof(T));
        return values;
    }
    QString takeText(std::uint32_t length)
    {
        const char* begin = take(length, 1);
        return QString::fromUtf8(begin, int(std::min<std::uint32_t>(length, 1 << 20)));
    }

private:
    const char* mp_At;
    std::size_t m_Left;
};

bool areFinite(const std::vector<float>& values)
{
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

float limited(float value, float low, float high, float fallback)
{
    return std::isfinite(value) ? std::clamp(value, low, high) : fallback;
}

template <typename T>
T named(std::uint8_t value, T last)
{
    return T(std::min<std::uint8_t>(value, std::uint8_t(last)));
}

tov::math::Matrix4 matrixOf(const double* values)
{
    tov::math::Matrix4 matrix;
    for (unsigned int i = 0; i < 16; ++i) {
        if (!std::isfinite(values[i]))
            throw ReadError(tr("a coordinate is not a finite number"));
        matrix(i / 4, i % 4) = values[i];
    }
    return matrix;
}

class StreamReader
{
public:
    StreamReader(const ImportedBytes& bytes, const QString& name) : m_Cursor(bytes.data(), bytes.size()), m_Name(name)
    {}

    void read()
    {
        const auto header = m_Cursor.take<Header>();
        if (std::memcmp(header.magic, Magic, sizeof Magic) != 0 || header.version != Version || header.complete != 1)
            failIncomplete();
        while (readRecord(m_Cursor.take<Tag>())) {
        }
    }
    SceneElement* takeTree()
    {
        if (m_Elements.empty())
            failIncomplete();
        m_Root->setModelData(m_Data);
        return m_Root.release();
    }
    std::vector<std::shared_ptr<const Image>>& images() { return m_Images; }
    QStringList warnings() const { return m_Data->warnings; }

private:
    bool readRecord(Tag tag);
    void readImage();
    void readMaterial();
    void readNode();
    void readSkin();
    void readMesh();
    void readMeshArrays(const MeshRecord& record, Geometry& geometry);
    void readMorphs(const MeshRecord& record, Geometry& geometry);
    void readAnimation();
    AnimationChannel readChannel();
    void readCamera();
    void readLight();
    Texture textureOf(const TextureRecord& record) const;
    SceneElement* elementAt(std::uint32_t index) const
    {
        if (index >= m_Elements.size())
            failIncomplete();
        return m_Elements[index];
    }

    Cursor m_Cursor;
    const QString m_Name;
    std::unique_ptr<SceneElement> m_Root;
    std::shared_ptr<ModelData> m_Data = std::make_shared<ModelData>();
    std::vector<std::shared_ptr<const Image>> m_Images;
    std::vector<std::shared_ptr<const Material>> m_Materials;
    std::vector<SceneElement*> m_Elements;
};

bool StreamReader::readRecord(Tag tag)
{
    switch (tag) {
    case Tag::End:
        return false;
    case Tag::Image:
        readImage();
        return true;
    case Tag::Material:
        readMaterial();
        return true;
    case Tag::Node:
        readNode();
        return true;
    case Tag::Skin:
        readSkin();
        return true;
    case Tag::Mesh:
        readMesh();
        return true;
    case Tag::Animation:
        readAnimation();
        return true;
    case Tag::Camera:
        readCamera();
        return true;
    case Tag::Light:
        readLight();
        return true;
    case Tag::Warning:
        m_Data->warnings << m_Cursor.takeText(m_Cursor.take<WarningRecord>().nameLength).simplified();
        return true;
    }
    failIncomplete();
}

void StreamReader::readImage()
{
    const auto record = m_Cursor.take<ImageRecord>();
    auto image = std::make_shared<Image>();
    image->name = m_Cursor.takeText(record.nameLength);
    if (record.width > MaxImageSide || record.height > MaxImageSide)
        failIncomplete();
    image->width = int(record.width);
    image->height = int(record.height);
    image->hasAlpha = record.hasAlpha != 0;
    image->pixels = m_Cursor.takeMany<std::uint8_t>(std::uint64_t(record.width) * record.height, 4);
    m_Images.push_back(image->pixels.empty() ? nullptr : std::move(image));
}

Texture StreamReader::textureOf(const TextureRecord& record) const
{
    Texture texture;
    if (record.image == None)
        return texture;
    if (record.image >= m_Images.size())
        failIncomplete();
    texture.image = m_Images[record.image];
    texture.uvSet = int(std::min(record.uvSet, 1u));
    if (std::all_of(record.transform, record.transform + 6, [](float value) { return std::isfinite(value); }))
        std::copy(record.transform, record.transform + 6, texture.transform.begin());
    texture.wrapU = named(record.wrapU, Texture::Wrap::MirroredRepeat);
    texture.wrapV = named(record.wrapV, Texture::Wrap::MirroredRepeat);
    texture.minFilter = named(record.minFilter, Texture::Filter::LinearMipmapLinear);
    texture.magFilter = named(record.magFilter, Texture::Filter::Linear);
    return texture;
}

void StreamReader::readMaterial()
{
    const auto record = m_Cursor.take<MaterialRecord>();
    auto material = std::make_shared<Material>();
    constexpr float Most = 1e6f;
    material->name = m_Cursor.takeText(record.nameLength);
    for (std::size_t i = 0; i < 4; ++i)
        material->baseColor[i] = limited(record.baseColor[i], 0, 1, 1);
    for (std::size_t i = 0; i < 3; ++i)
        material->emissive[i] = limited(record.emissive[i], 0, Most, 0);
    material->metallic = limited(record.metallic, 0, 1, 0);
    material->roughness = limited(record.roughness, 0, 1, 1);
    material->normalScale = limited(record.normalScale, -Most, Most, 1);
    material->occlusionStrength = limited(record.occlusionStrength, 0, 1, 1);
    material->alphaCutoff = limited(record.alphaCutoff, 0, Most, 0.5f);
    material->clearcoat = limited(record.clearcoat, 0, 1, 0);
    material->clearcoatRoughness = limited(record.clearcoatRoughness, 0, 1, 0);
    material->transmission = limited(record.transmission, 0, 1, 0);
    material->indexOfRefraction = limited(record.indexOfRefraction, 1, 10, 1.5f);
    material->baseColorTexture = textureOf(record.baseColorTexture);
    material->metallicRoughnessTexture = textureOf(record.metallicRoughnessTexture);
    material->normalTexture = textureOf(record.normalTexture);
    material->occlusionTexture = textureOf(record.occlusionTexture);
    material->emissiveTexture = textureOf(record.emissiveTexture);
    material->alphaMode = named(record.alphaMode, Material::AlphaMode::Blend);
    material->doubleSided = record.doubleSided != 0;
    material->unlit = record.unlit != 0;
    m_Materials.push_back(std::move(material));
}

void StreamReader::readNode()
{
    const auto record = m_Cursor.take<NodeRecord>();
    const QString name = m_Cursor.takeText(record.nameLength);
    SceneElement* element = nullptr;
    if (m_Elements.empty()) {
        if (record.parent != None)
            failIncomplete();
        m_Root = std::make_unique<SceneElement>(m_Name);
        element = m_Root.get();
    } else {
        SceneElement* parent = elementAt(record.parent);
        element = new SceneElement(name);
        parent->addChild(element);
    }
    element->setTransform(matrixOf(record.transform));
    m_Elements.push_back(element);
}

void StreamReader::readSkin()
{
    const auto record = m_Cursor.take<SkinRecord>();
    auto skin = std::make_shared<Skin>();
    for (const std::uint32_t joint : m_Cursor.takeMany<std::uint32_t>(record.joints))
        skin->joints.push_back(elementAt(joint));
    const auto values = m_Cursor.takeMany<double>(record.joints, 16);
    for (std::size_t i = 0; i < values.size(); i += 16)
        skin->inverseBind.push_back(matrixOf(values.data() + i));
    m_Data->skins.push_back(std::move(skin));
}

void StreamReader::readMorphs(const MeshRecord& record, Geometry& geometry)
{
    // Without vertices a target takes no bytes, so their number would have no limit.
    if (record.morphTargets > 0 && record.vertices == 0)
        failIncomplete();
    for (std::uint32_t i = 0; i < record.morphTargets; ++i) {
        Geometry::MorphTarget target;
        target.positions = m_Cursor.takeMany<float>(record.vertices, 3);
        if (record.morphNormals)
            target.normals = m_Cursor.takeMany<float>(record.vertices, 3);
        if (record.morphTangents)
            target.tangents = m_Cursor.takeMany<float>(record.vertices, 3);
        checkFinite(target.positions);
        if (!areFinite(target.normals))
            target.normals.clear();
        if (!areFinite(target.tangents))
            target.tangents.clear();
        geometry.morphTargets.push_back(std::move(target));
    }
    geometry.morphWeights = m_Cursor.takeMany<float>(record.morphTargets);
    for (float& weight : geometry.morphWeights)
        weight = std::isfinite(weight) ? weight : 0;
}

/// Makes the weights of each vertex sum to 1.
void normalizeWeights(Geometry& geometry)
{
    const std::size_t perVertex = 4 * std::size_t(geometry.jointGroups);
    for (std::size_t begin = 0; begin < geometry.weights.size(); begin += perVertex) {
        float sum = 0;
        for (std::size_t i = begin; i < begin + perVertex; ++i) {
            geometry.weights[i] = limited(geometry.weights[i], 0, 1e6f, 0);
            sum += geometry.weights[i];
        }
        if (sum <= 0)
            geometry.weights[begin] = sum = 1;
        for (std::size_t i = begin; i < begin + perVertex; ++i)
            geometry.weights[i] /= sum;
    }
}

void StreamReader::readMeshArrays(const MeshRecord& record, Geometry& geometry)
{
    geometry.positions = m_Cursor.takeMany<float>(record.vertices, 3);
    checkFinite(geometry.positions);
    if (record.hasNormals)
        geometry.normals = m_Cursor.takeMany<float>(record.vertices, 3);
    if (record.hasTangents)
        geometry.tangents = m_Cursor.takeMany<float>(record.vertices, 4);
    for (std::size_t set = 0; set < 2; ++set)
        if (record.hasUv[set])
            geometry.uv[set] = m_Cursor.takeMany<float>(record.vertices, 2);
    if (record.hasColors)
        geometry.colors = m_Cursor.takeMany<std::uint16_t>(record.vertices, 4);
    // Normals are computed instead; the others are left out.
    for (std::vector<float>* values : {&geometry.normals, &geometry.tangents, &geometry.uv[0], &geometry.uv[1]})
        if (!areFinite(*values))
            values->clear();
    if (record.jointGroups > MaxJointGroups)
        throw ReadError(tr("a vertex has too many joints"));
    if (record.jointGroups > 0) {
        geometry.jointGroups = int(record.jointGroups);
        geometry.joints = m_Cursor.takeMany<std::uint16_t>(record.vertices, 4 * std::uint64_t(record.jointGroups));
        geometry.weights = m_Cursor.takeMany<float>(record.vertices, 4 * std::uint64_t(record.jointGroups));
        normalizeWeights(geometry);
    }
    readMorphs(record, geometry);
    geometry.indices = m_Cursor.takeMany<std::uint32_t>(record.indices);
}

void StreamReader::readMesh()
{
    const auto record = m_Cursor.take<MeshRecord>();
    const QString name = m_Cursor.takeText(record.nameLength);
    if (record.kind < 1 || record.kind > 3 || record.indices % record.kind != 0)
        failIncomplete();
    if (record.vertices > UINT32_MAX)
        throw ReadError(tr("it has more vertices than can be shown"));
    Geometry geometry;
    geometry.kind = Geometry::Kind(record.kind);
    readMeshArrays(record, geometry);
    std::copy(record.origin, record.origin + 3, geometry.origin.begin());
    if (!std::all_of(record.origin, record.origin + 3, [](double value) { return std::isfinite(value); }))
        throw ReadError(tr("a coordinate is not a finite number"));
    for (const std::uint32_t index : geometry.indices)
        if (index >= record.vertices)
            throw ReadError(tr("a face refers to a missing vertex"));
    if (record.material != None) {
        if (record.material >= m_Materials.size())
            failIncomplete();
        geometry.material = m_Materials[record.material];
    }
    if (record.skin != None) {
        if (record.skin >= m_Data->skins.size() || geometry.jointGroups == 0)
            failIncomplete();
        geometry.skin = m_Data->skins[record.skin];
        for (const std::uint16_t joint : geometry.joints)
            if (joint >= geometry.skin->joints.size())
                throw ReadError(tr("a vertex refers to a missing joint"));
    }
    SceneElement* parent = elementAt(record.node);
    if (geometry.indices.empty())
        return;
    parent->addChild(new GeometryElement(name.isEmpty() ? parent->getName() : name, std::move(geometry)));
}

AnimationChannel StreamReader::readChannel()
{
    const auto record = m_Cursor.take<ChannelRecord>();
    AnimationChannel channel;
    channel.target = elementAt(record.node);
    channel.path = named(record.path, AnimationChannel::Path::MorphWeights);
    channel.interpolation = named(record.interpolation, AnimationChannel::Interpolation::CubicSpline);
    channel.times = m_Cursor.takeMany<double>(record.keys);
    channel.values = m_Cursor.takeMany<float>(record.values);
    const bool isCubic = channel.interpolation == AnimationChannel::Interpolation::CubicSpline;
    const std::size_t each = channel.path == AnimationChannel::Path::Rotation       ? 4
                             : channel.path == AnimationChannel::Path::MorphWeights ? 0
                                                                                    : 3;
    const std::size_t expected = record.keys * each * (isCubic ? 3 : 1);
    if (channel.times.empty() || (each > 0 && channel.values.size() != expected) ||
        channel.values.size() % (channel.times.size() * (isCubic ? 3 : 1)) != 0 || !areFinite(channel.values))
        failIncomplete();
    for (std::size_t i = 0; i < channel.times.size(); ++i)
        if (!std::isfinite(channel.times[i]) || (i > 0 && channel.times[i] <= channel.times[i - 1]))
            failIncomplete();
    return channel;
}

void StreamReader::readAnimation()
{
    const auto record = m_Cursor.take<AnimationRecord>();
    Animation animation;
    animation.name = m_Cursor.takeText(record.nameLength);
    for (std::uint32_t i = 0; i < record.channels; ++i) {
        animation.channels.push_back(readChannel());
        animation.duration = std::max(animation.duration, animation.channels.back().times.back());
    }
    if (!animation.channels.empty())
        m_Data->animations.push_back(std::move(animation));
}

void StreamReader::readCamera()
{
    const auto record = m_Cursor.take<CameraRecord>();
    FileCamera camera;
    camera.name = m_Cursor.takeText(record.nameLength);
    camera.element = elementAt(record.node);
    camera.orthographic = record.orthographic != 0;
    camera.fieldOfView = record.fieldOfView;
    camera.halfHeight = record.halfHeight;
    const double size = camera.orthographic ? camera.halfHeight : camera.fieldOfView;
    if (std::isfinite(size) && size > 0 && (camera.orthographic || size < 3.14))
        m_Data->cameras.push_back(camera);
    else
        m_Data->warnings << tr("the camera '%1' has no usable field of view").arg(camera.name.simplified());
}

void StreamReader::readLight()
{
    const auto record = m_Cursor.take<LightRecord>();
    FileLight light;
    light.name = m_Cursor.takeText(record.nameLength);
    light.element = elementAt(record.node);
    light.kind = FileLight::Kind(std::min(record.kind, 2u));
    for (std::size_t i = 0; i < 3; ++i)
        light.color[i] = limited(record.color[i], 0, 1e6f, 1);
    light.intensity = limited(record.intensity, 0, 1e12f, 1);
    m_Data->lights.push_back(light);
}

} // namespace

SceneElement* readStream(const ImportedBytes& bytes, const QString& name)
{
    StreamReader reader(bytes, name);
    reader.read();
    return reader.takeTree();
}

std::vector<std::shared_ptr<const Image>> readImageStream(const ImportedBytes& bytes, QStringList& warnings)
{
    StreamReader reader(bytes, QString());
    reader.read();
    warnings << reader.warnings();
    return std::move(reader.images());
}

} // namespace tov::scene
