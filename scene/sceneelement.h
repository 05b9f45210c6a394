#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace tov::scene {

struct ModelData;

/// A node of the scene's tree: a name, a transform, a visibility flag and children; subclasses carry data (meshes,
/// points, lines). Changed under a `SceneEdit` only, once it is in a scene.
class TOV_EXPORT SceneElement
{
public:
    explicit SceneElement(const QString& name);
    SceneElement(const SceneElement&) = delete;
    SceneElement& operator=(const SceneElement&) = delete;
    /// Deletes the children.
    virtual ~SceneElement();

    /// Unique in the process, so that a later element at the address of a deleted one is recognised as another.
    std::uint64_t getId() const { return m_Id; }
    /// The name, as the file gives it; need not be unique.
    QString getName() const { return m_Name; }
    /// Renames the element.
    void setName(const QString& name) { m_Name = name; }
    /// Element to parent.
    const tov::math::Matrix<double, 4u, 4u>& getTransform() const { return m_Transform; }
    /// Places the element relative to its parent.
    void setTransform(const tov::math::Matrix<double, 4u, 4u>& transform) { m_Transform = transform; }
    /// False when the element and everything below it are hidden.
    bool isVisible() const { return m_Visible; }
    /// Shows or hides the element and everything below it.
    void setVisible(bool visible) { m_Visible = visible; }
    /// True when the user has selected the element.
    bool isSelected() const { return m_Selected; }
    /// Selects or deselects the element.
    void setSelected(bool selected) { m_Selected = selected; }

    /// The parent; null for a root.
    SceneElement* getParent() const { return mp_Parent; }
    /// The children, owned by this element, in the order in which they were added.
    const std::vector<SceneElement*>& getChildren() const { return m_Children; }
    /// Takes ownership of a child.
    void addChild(SceneElement* child);
    /// The same before the child at `index`; at the end if there is none.
    void insertChild(std::size_t index, SceneElement* child);
    /// Removes a child, which the caller owns then; null when it is not a child.
    SceneElement* takeChild(SceneElement* child);
    /// This element or the first one below it with that name (in any case); null if no name matches.
    SceneElement* find(const QString& name);

    /// What the file of this tree holds besides elements; null for elements that are not the root of a file.
    const std::shared_ptr<ModelData>& getModelData() const { return mp_ModelData; }
    /// Sets what the file of this tree holds besides elements.
    void setModelData(std::shared_ptr<ModelData> data) { mp_ModelData = std::move(data); }

private:
    const std::uint64_t m_Id;
    QString m_Name;
    tov::math::Matrix<double, 4u, 4u> m_Transform = tov::math::Matrix<double, 4u, 4u>::identity();
    bool m_Visible = true;
    bool m_Selected = false;
    SceneElement* mp_Parent = nullptr;
    std::vector<SceneElement*> m_Children; ///< owned
    std::shared_ptr<ModelData> mp_ModelData;
};

} // namespace tov::scene
