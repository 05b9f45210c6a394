#include "scene/deformation.h"

#include "scene/model.h"
#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

void normalize(float* v)
{
    const float length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (length > 1e-20f)
        for (int i = 0; i < 3; ++i)
            v[i] /= length;
}

/// `m` (3 x 4) times a direction.
void turn(const float* m, float* v)
{
    const float x = v[0], y = v[1], z = v[2];
    for (int r = 0; r < 3; ++r)
        v[r] = m[4 * r] * x + m[4 * r + 1] * y + m[4 * r + 2] * z;
    normalize(v);
}

} // namespace

DeformedShape::DeformedShape(GeometryElement& element)
    : m_Element(element), m_Rest(element.getVertices()), m_RestTangents(element.getTangents()), m_Morphed(m_Rest),
      m_MorphedTangents(m_RestTangents), m_Weights(element.getDeformation()->morphTargets.size(), 0.0f)
{
    if (const auto& skin = element.getDeformation()->skin)
        for (const SceneElement* joint : skin->joints)
            m_JointIds.push_back(joint ? joint->getId() : 0);
    m_Matrices.assign(m_JointIds.size(), JointMatrix{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}});
}

void DeformedShape::bind(const ElementsById& elements)
{
    m_Joints.clear();
    for (const std::uint64_t id : m_JointIds) {
        const auto found = elements.find(id);
        m_Joints.push_back(found == elements.end() ? nullptr : found->second);
    }
}

void DeformedShape::update()
{
    const auto& deformation = *m_Element.getDeformation();
    std::vector<float> weights = m_Element.getMorphWeights();
    weights.resize(deformation.morphTargets.size());
    const bool jointsMoved = updateJointMatrices();
    const bool morphed = weights != m_Weights;
    if (!m_First && !jointsMoved && !morphed)
        return;
    m_First = false;
    if (morphed) {
        m_Weights = std::move(weights);
        morph();
    }
    if (deformation.skin) {
        skin();
    } else {
        m_Element.changeVertices([this](auto& vertices, auto& tangents) {
            vertices = m_Morphed;
            tangents = m_MorphedTangents;
        });
    }
}

bool DeformedShape::updateJointMatrices()
{
    const auto& skin = m_Element.getDeformation()->skin;
    Matrix4 toMesh;
    if (!skin || !inverted(transformToScene(&m_Element), toMesh))
        return false;
    const auto& origin = m_Element.getOrigin();
    Matrix4 fromOrigin = Matrix4::identity(), toOrigin = Matrix4::identity();
    for (unsigned int axis = 0; axis < 3; ++axis) {
        fromOrigin(axis, 3) = origin[axis];
        toOrigin(axis, 3) = -origin[axis];
    }
    bool changed = false;
    for (std::size_t i = 0; i < m_Joints.size() && i < skin->inverseBind.size(); ++i) {
        if (!m_Joints[i])
            continue;
        const Matrix4 m = toOrigin * toMesh * transformToScene(m_Joints[i]) * skin->inverseBind[i] * fromOrigin;
        JointMatrix matrix;
        for (unsigned int k = 0; k < 12; ++k)
            matrix.m[k] = float(m.data()[k]);
        changed = changed || !(matrix == m_Matrices[i]);
        m_Matrices[i] = matrix;
    }
    return changed;
}

void DeformedShape::morph()
{
    const auto add = [](float* to, const std::vector<float>& deltas, std::size_t vertex, float weight) {
        if (3 * vertex + 2 < deltas.size())
            for (std::size_t axis = 0; axis < 3; ++axis)
                to[axis] += weight * deltas[3 * vertex + axis];
    };
    m_Morphed = m_Rest;
    m_MorphedTangents = m_RestTangents;
    const auto& targets = m_Element.getDeformation()->morphTargets;
    for (std::size_t t = 0; t < targets.size(); ++t) {
        if (m_Weights[t] == 0)
            continue;
        for (std::size_t i = 0; i < m_Morphed.size(); ++i) {
            add(m_Morphed[i].position, targets[t].positions, i, m_Weights[t]);
            add(m_Morphed[i].normal, targets[t].normals, i, m_Weights[t]);
        }
        for (std::size_t i = 0; 4 * i < m_MorphedTangents.size(); ++i)
            add(&m_MorphedTangents[4 * i], targets[t].tangents, i, m_Weights[t]);
    }
    for (auto& vertex : m_Morphed)
        normalize(vertex.normal);
}

void DeformedShape::skin()
{
    const auto& deformation = *m_Element.getDeformation();
    const std::size_t influences = 4 * std::size_t(deformation.jointGroups);
    m_Element.changeVertices([&](std::vector<GeometryElement::Vertex>& vertices, std::vector<float>& tangents) {
        for (std::size_t i = 0; i < vertices.size(); ++i) {
            float m[12] = {};
            float total = 0;
            for (std::size_t k = i * influences; k < (i + 1) * influences; ++k) {
                const float weight = deformation.weights[k];
                const std::size_t joint = deformation.joints[k];
                if (weight == 0 || joint >= m_Matrices.size())
                    continue;
                total += weight;
                for (int c = 0; c < 12; ++c)
                    m[c] += weight * m_Matrices[joint].m[c];
            }
            if (!(total > 0)) {
                vertices[i] = m_Morphed[i];
                continue;
            }
            const float* from = m_Morphed[i].position;
            for (int r = 0; r < 3; ++r)
                vertices[i].position[r] =
                    (m[4 * r] * from[0] + m[4 * r + 1] * from[1] + m[4 * r + 2] * from[2] + m[4 * r + 3]) / total;
            std::copy_n(m_Morphed[i].normal, 3, vertices[i].normal);
            turn(m, vertices[i].normal);
            if (4 * i + 3 < tangents.size()) {
                std::copy_n(&m_MorphedTangents[4 * i], 4, &tangents[4 * i]);
                turn(m, &tangents[4 * i]);
            }
        }
    });
}

void Deformations::update(SceneElement* root, std::uint64_t structureRevision)
{
    if (m_Revision != structureRevision) {
        m_Revision = structureRevision;
        search(root);
    }
    for (DeformedShape* shape : m_Shapes)
        shape->update();
}

void Deformations::search(SceneElement* root)
{
    DeformedShape::ElementsById elements;
    std::vector<GeometryElement*> deformed;
    std::vector<SceneElement*> pending;
    if (root)
        pending.push_back(root);
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        elements.emplace(element->getId(), element);
        auto* geometry = dynamic_cast<GeometryElement*>(element);
        if (geometry && geometry->getDeformation())
            deformed.push_back(geometry);
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    m_Shapes.clear();
    for (GeometryElement* element : deformed) {
        if (!element->mp_Shape)
            element->mp_Shape = std::make_unique<DeformedShape>(*element);
        element->mp_Shape->bind(elements);
        m_Shapes.push_back(element->mp_Shape.get());
    }
}

} // namespace tov::scene
