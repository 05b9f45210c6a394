#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "scene/geometryelement.h"

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace tov::scene {

/// The shape of a skinned or morphed element: its vertices at rest and deformed.
class TOV_EXPORT DeformedShape
{
public:
    /// Stores the vertices of `element` as those at rest. The joints must exist.
    explicit DeformedShape(GeometryElement& element);

    typedef std::unordered_map<std::uint64_t, SceneElement*> ElementsById;
    /// Finds the joints again after the tree has changed. A joint that no longer exists keeps its last matrix.
    void bind(const ElementsById& elements);
    /// Moves the vertices when joints or morph weights have changed since the last call. The caller holds a
    /// `SceneEdit`.
    void update();

private:
    bool updateJointMatrices();
    void morph();
    void skin();

    /// The upper three rows of a joint's matrix, mesh at rest to mesh.
    struct JointMatrix
    {
        float m[12];
        bool operator==(const JointMatrix&) const = default;
    };

    GeometryElement& m_Element;
    std::vector<GeometryElement::Vertex> m_Rest;
    std::vector<float> m_RestTangents;
    std::vector<GeometryElement::Vertex> m_Morphed; ///< the input of skinning
    std::vector<float> m_MorphedTangents;
    std::vector<float> m_Weights; ///< that `m_Morphed` was made with
    std::vector<std::uint64_t> m_JointIds;
    std::vector<const SceneElement*> m_Joints; ///< null: gone
    std::vector<JointMatrix> m_Matrices;
    bool m_First = true;
};

/// Keeps the shapes of all deformed elements of a tree up to date.
class Deformations
{
public:
    /// Updates every shape under `root`; the tree is searched again when `structureRevision` changes. The caller holds
    /// a `SceneEdit`. Thread: any.
    void update(SceneElement* root, std::uint64_t structureRevision);

private:
    void search(SceneElement* root);
    std::vector<DeformedShape*> m_Shapes; ///< owned by the elements of the tree
    std::uint64_t m_Revision = 0;
};

} // namespace tov::scene
