#include "scene/modelinfo.h"

#include "scene/geometryelement.h"
#include "scene/material.h"
#include "scene/model.h"
#include "scene/sceneview.h"

#include <set>

namespace tov::scene {

namespace {

class Collector
{
public:
    explicit Collector(ModelInfo& info) : m_Info(info) {}

    void addTree(const SceneElement& root)
    {
        std::vector<const SceneElement*> open{&root};
        while (!open.empty()) {
            const SceneElement* element = open.back();
            open.pop_back();
            // In the order of the file: the last one on the stack comes first.
            open.insert(open.end(), element->getChildren().rbegin(), element->getChildren().rend());
            if (element->getModelData())
                addModelData(*element->getModelData());
            if (const auto* part = dynamic_cast<const GeometryElement*>(element))
                addPart(*part);
            else
                ++m_Info.nodes;
        }
    }

private:
    void addPart(const GeometryElement& part)
    {
        m_Info.partNames << part.getName();
        const std::uint64_t primitives = part.getIndices().size() / std::size_t(part.getKind());
        (part.getKind() == Geometry::Kind::Surfaces ? m_Info.triangles
         : part.getKind() == Geometry::Kind::Lines  ? m_Info.lines
                                                    : m_Info.points) += primitives;
        m_Info.vertices += part.getVertices().size();
        m_Info.memoryBytes +=
            part.getVertices().size() * sizeof(GeometryElement::Vertex) +
            part.getIndices().size() * sizeof(std::uint32_t) +
            (part.getTextureCoordinates(0).size() + part.getTextureCoordinates(1).size() + part.getTangents().size()) *
                sizeof(float);
        if (const auto* deformation = part.getDeformation())
            m_Info.morphTargets += deformation->morphTargets.size();
        addMaterial(part.getMaterial().get());
    }
    void addMaterial(const Material* material)
    {
        if (!material || !m_Materials.insert(material).second)
            return;
        m_Info.materials << material->name;
        for (const Texture* texture : texturesOf(*material))
            addImage(texture->image.get());
    }
    void addImage(const Image* image)
    {
        if (!image || !m_Images.insert(image).second)
            return;
        m_Info.textures.push_back({image->name, image->width, image->height, image->pixels.size()});
        m_Info.memoryBytes += image->pixels.size();
    }
    void addModelData(const ModelData& data)
    {
        if (m_Info.fileName.isEmpty())
            m_Info.fileName = data.fileName;
        m_Info.skins += data.skins.size();
        for (const Animation& animation : data.animations)
            m_Info.animations.push_back({animation.name, animation.duration, animation.channels.size()});
        for (const FileCamera& camera : data.cameras)
            m_Info.cameras << camera.name;
        for (const FileLight& light : data.lights)
            m_Info.lights << light.name;
        m_Info.warnings << data.warnings;
    }

    ModelInfo& m_Info;
    std::set<const Material*> m_Materials;
    std::set<const Image*> m_Images;
};

} // namespace

ModelInfo::ModelInfo(const SceneElement& root)
{
    Collector(*this).addTree(root);
    const auto box = visibleBox(&root);
    isEmpty = box.isEmpty();
    if (isEmpty)
        return;
    low = {double(box.low[0]), double(box.low[1]), double(box.low[2])};
    high = {double(box.high[0]), double(box.high[1]), double(box.high[2])};
}

} // namespace tov::scene
