#include "app/cli/parts/scenedigest.h"

#include "app/cli/parts/digest.h"
#include "scene/geometryelement.h"
#include "scene/material.h"
#include "scene/model.h"

#include <map>

namespace tov::app {

using namespace tov::scene;

namespace {

/// Adds a tree to a digest. Objects that several others share are added once; their numbers stand for them.
class TreeDigest
{
public:
    QByteArray of(const SceneElement* root);

private:
    void number(const SceneElement& element);
    void addElement(const SceneElement& element);
    void addGeometry(const GeometryElement& element);
    void addDeformation(const GeometryElement::Deformation& deformation);
    void addModel(const ModelData& model);
    void addAnimation(const Animation& animation);
    void addMaterial(const Material& material);
    void addTexture(const Texture& texture);
    void addSkin(const Skin& skin);
    void addMatrix(const tov::math::Matrix4& matrix) { m_Digest.addBytes(matrix.data(), 16 * sizeof(double)); }
    /// The number of an element of the tree; -1 for others.
    int numberOf(const SceneElement* element) const
    {
        const auto found = m_Elements.find(element);
        return found == m_Elements.end() ? -1 : found->second;
    }
    /// Adds the number of a shared object, and the object itself the first time. False when it is known or null.
    bool isNew(const void* object)
    {
        if (!object) {
            m_Digest.add(-1);
            return false;
        }
        const auto [known, added] = m_Shared.emplace(object, int(m_Shared.size()));
        m_Digest.add(known->second);
        return added;
    }

    Digest m_Digest;
    std::map<const SceneElement*, int> m_Elements; ///< in the order of the tree
    std::map<const void*, int> m_Shared;           ///< in the order of first use
};

QByteArray TreeDigest::of(const SceneElement* root)
{
    if (root) {
        number(*root);
        addElement(*root);
    }
    return m_Digest.result();
}

void TreeDigest::number(const SceneElement& element)
{
    m_Elements.emplace(&element, int(m_Elements.size()));
    for (const SceneElement* child : element.getChildren())
        number(*child);
}

void TreeDigest::addElement(const SceneElement& element)
{
    m_Digest.add(element.getName());
    addMatrix(element.getTransform());
    m_Digest.add(element.isVisible());
    const auto* geometry = dynamic_cast<const GeometryElement*>(&element);
    m_Digest.add(geometry != nullptr);
    if (geometry)
        addGeometry(*geometry);
    m_Digest.add(element.getModelData() != nullptr);
    if (element.getModelData())
        addModel(*element.getModelData());
    m_Digest.add(qint64(element.getChildren().size()));
    for (const SceneElement* child : element.getChildren())
        addElement(*child);
}

void TreeDigest::addGeometry(const GeometryElement& element)
{
    static_assert(sizeof(GeometryElement::Vertex) == 6 * sizeof(float) + 4 * sizeof(std::uint16_t), "no padding");
    m_Digest.add(element.getKind());
    m_Digest.add(element.getVertices());
    m_Digest.add(element.getTextureCoordinates(0));
    m_Digest.add(element.getTextureCoordinates(1));
    m_Digest.add(element.getTangents());
    m_Digest.add(element.getIndices());
    m_Digest.add(element.getOrigin());
    m_Digest.add(element.hasVertexColors());
    m_Digest.add(element.getOpacity());
    m_Digest.add(element.getMorphWeights());
    if (isNew(element.getMaterial().get()))
        addMaterial(*element.getMaterial());
    m_Digest.add(element.getDeformation() != nullptr);
    if (element.getDeformation())
        addDeformation(*element.getDeformation());
}

void TreeDigest::addDeformation(const GeometryElement::Deformation& deformation)
{
    m_Digest.add(deformation.jointGroups);
    m_Digest.add(deformation.joints);
    m_Digest.add(deformation.weights);
    m_Digest.add(qint64(deformation.morphTargets.size()));
    for (const Geometry::MorphTarget& target : deformation.morphTargets) {
        m_Digest.add(target.positions);
        m_Digest.add(target.normals);
        m_Digest.add(target.tangents);
    }
    if (isNew(deformation.skin.get()))
        addSkin(*deformation.skin);
}

void TreeDigest::addSkin(const Skin& skin)
{
    m_Digest.add(qint64(skin.joints.size()));
    for (const SceneElement* joint : skin.joints)
        m_Digest.add(numberOf(joint));
    for (const auto& matrix : skin.inverseBind)
        addMatrix(matrix);
}

void TreeDigest::addMaterial(const Material& material)
{
    m_Digest.add(material.baseColor);
    m_Digest.add(material.emissive);
    for (const float factor :
         {material.metallic, material.roughness, material.normalScale, material.occlusionStrength, material.alphaCutoff,
          material.clearcoat, material.clearcoatRoughness, material.transmission, material.indexOfRefraction})
        m_Digest.add(factor);
    m_Digest.add(material.alphaMode);
    m_Digest.add(material.doubleSided);
    m_Digest.add(material.unlit);
    for (const Texture* texture : texturesOf(material))
        addTexture(*texture);
}

void TreeDigest::addTexture(const Texture& texture)
{
    m_Digest.add(texture.uvSet);
    m_Digest.add(texture.transform);
    m_Digest.add(texture.wrapU);
    m_Digest.add(texture.wrapV);
    m_Digest.add(texture.minFilter);
    m_Digest.add(texture.magFilter);
    if (!isNew(texture.image.get()))
        return;
    m_Digest.add(texture.image->width);
    m_Digest.add(texture.image->height);
    m_Digest.add(texture.image->pixels);
}

void TreeDigest::addModel(const ModelData& model)
{
    m_Digest.add(qint64(model.animations.size()));
    for (const Animation& animation : model.animations)
        addAnimation(animation);
    m_Digest.add(qint64(model.cameras.size()));
    for (const FileCamera& camera : model.cameras) {
        m_Digest.add(camera.name);
        m_Digest.add(numberOf(camera.element));
        m_Digest.add(camera.orthographic);
        m_Digest.add(camera.fieldOfView);
        m_Digest.add(camera.halfHeight);
    }
}

void TreeDigest::addAnimation(const Animation& animation)
{
    m_Digest.add(animation.name);
    m_Digest.add(animation.duration);
    m_Digest.add(qint64(animation.channels.size()));
    for (const AnimationChannel& channel : animation.channels) {
        m_Digest.add(numberOf(channel.target));
        m_Digest.add(channel.path);
        m_Digest.add(channel.interpolation);
        m_Digest.add(channel.times);
        m_Digest.add(channel.values);
    }
}

} // namespace

QByteArray sceneDigest(const SceneElement* root)
{
    return TreeDigest().of(root);
}

} // namespace tov::app
