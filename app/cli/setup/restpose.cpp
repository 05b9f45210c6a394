#include "app/cli/setup/restpose.h"

#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"

namespace tov::app {

using tov::scene::GeometryElement;
using tov::scene::SceneElement;

void RestPose::capture()
{
    m_Transforms.clear();
    m_Shapes.clear();
    std::vector<SceneElement*> pending;
    if (auto* root = tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode())
        pending.push_back(root);
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        m_Transforms.emplace_back(element, element->getTransform());
        if (auto* geometry = dynamic_cast<GeometryElement*>(element))
            if (!geometry->getMorphWeights().empty())
                m_Shapes.push_back({geometry, geometry->getMorphWeights()});
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
}

void RestPose::restore()
{
    if (m_Transforms.empty())
        return;
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    const tov::scene::SceneEdit edit(scene.get(), tov::scene::SceneLocker::LockTransforms);
    for (const auto& [element, transform] : m_Transforms)
        element->setTransform(transform);
    for (const Shape& shape : m_Shapes)
        shape.element->setMorphWeights(shape.weights);
    m_Transforms.clear();
    m_Shapes.clear();
}

} // namespace tov::app
