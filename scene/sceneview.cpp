#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>

namespace tov::scene {

using tov::math::Matrix4;

Matrix4 translation(const std::array<double, 3>& offset)
{
    Matrix4 matrix = Matrix4::identity();
    for (unsigned int axis = 0; axis < 3; ++axis)
        matrix(axis, 3) = offset[axis];
    return matrix;
}

void forEachVisible(const SceneElement* root,
                    const std::function<void(const GeometryElement&, const Matrix4&)>& function)
{
    std::vector<std::pair<const SceneElement*, Matrix4>> pending;
    if (root && root->isVisible())
        pending.emplace_back(root, root->getTransform());
    while (!pending.empty()) {
        const auto [element, transform] = pending.back();
        pending.pop_back();
        if (const auto* geometry = dynamic_cast<const GeometryElement*>(element))
            function(*geometry, transform * translation(geometry->getOrigin()));
        const auto& children = element->getChildren();
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            if ((*it)->isVisible())
                pending.emplace_back(*it, transform * (*it)->getTransform());
    }
}

Matrix4 transformToScene(const SceneElement* element)
{
    Matrix4 transform = Matrix4::identity();
    for (; element; element = element->getParent())
        transform = element->getTransform() * transform;
    return transform;
}

std::array<double, 3> transformed(const Matrix4& m, double x, double y, double z)
{
    return {m(0, 0) * x + m(0, 1) * y + m(0, 2) * z + m(0, 3), m(1, 0) * x + m(1, 1) * y + m(1, 2) * z + m(1, 3),
            m(2, 0) * x + m(2, 1) * y + m(2, 2) * z + m(2, 3)};
}

void addBoxOf(const GeometryElement& element, const Matrix4& transform, Box& box)
{
    const Box& own = element.getBox();
    if (own.isEmpty())
        return;
    for (int corner = 0; corner < 8; ++corner) {
        const auto point = transformed(transform, corner & 1 ? own.high[0] : own.low[0],
                                       corner & 2 ? own.high[1] : own.low[1], corner & 4 ? own.high[2] : own.low[2]);
        box.add(point.data());
    }
}

Box visibleBox(const SceneElement* root)
{
    Box box;
    forEachVisible(
        root, [&box](const GeometryElement& element, const Matrix4& transform) { addBoxOf(element, transform, box); });
    return box;
}

bool isInSelection(const SceneElement* element)
{
    for (; element; element = element->getParent())
        if (element->isSelected())
            return true;
    return false;
}

Box selectionBox(const SceneElement* root)
{
    Box box;
    forEachVisible(root, [&box](const GeometryElement& element, const Matrix4& transform) {
        if (isInSelection(&element))
            addBoxOf(element, transform, box);
    });
    return box;
}

std::array<double, 3> centreOf(const Box& box)
{
    if (box.isEmpty())
        return {0, 0, 0};
    return {(box.low[0] + box.high[0]) / 2, (box.low[1] + box.high[1]) / 2, (box.low[2] + box.high[2]) / 2};
}

double scalingFor(const Box& box)
{
    double square = 0;
    for (int axis = 0; axis < 3; ++axis)
        square += std::pow((box.high[axis] - box.low[axis]) / 2, 2);
    const double radius = std::sqrt(square);
    return radius > 1e-30 ? 1000.0 / radius : 1.0;
}

bool inverted(const Matrix4& matrix, Matrix4& result)
{
    // Gauss-Jordan with row pivots, the identity on the right-hand side.
    double rows[4][8];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 8; ++c)
            rows[r][c] = c < 4 ? matrix(r, c) : (c - 4 == r ? 1.0 : 0.0);
    for (int column = 0; column < 4; ++column) {
        int pivot = column;
        for (int r = column + 1; r < 4; ++r)
            if (std::fabs(rows[r][column]) > std::fabs(rows[pivot][column]))
                pivot = r;
        if (!(std::fabs(rows[pivot][column]) > 1e-300))
            return false;
        std::swap(rows[pivot], rows[column]);
        const double factor = 1.0 / rows[column][column];
        for (double& value : rows[column])
            value *= factor;
        for (int r = 0; r < 4; ++r) {
            if (r == column)
                continue;
            const double share = rows[r][column];
            for (int c = 0; c < 8; ++c)
                rows[r][c] -= share * rows[column][c];
        }
    }
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            result(r, c) = rows[r][c + 4];
    return true;
}

} // namespace tov::scene
