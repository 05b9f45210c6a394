#include "scene/drawing/view.h"

#include "scene/sceneview.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

Matrix4 currentMatrix(GLenum which)
{
    Matrix4 columns;
    glGetDoublev(which, columns.data());
    return columns.transposed();
}

bool isNearly(double value, double exact)
{
    constexpr double SinglePrecision = 1e-6;
    return std::fabs(value - exact) <= SinglePrecision * std::fabs(exact);
}

/// OpenGL rounds matrices to single precision. The projections of whole pictures and videos are known, so the rounding
/// can be undone: the same view under each of them then gives the same pixels.
Matrix4 withoutRounding(const Matrix4& projection, double aspect)
{
    const double zNear = NearDistance, zFar = FarDistance;
    const double depth = -(zFar + zNear) / (zFar - zNear), offset = -2 * zFar * zNear / (zFar - zNear);
    Matrix4 result = projection;
    if (isNearly(projection(2, 2), depth) && isNearly(projection(2, 3), offset)) {
        result(2, 2) = depth;
        result(2, 3) = offset;
    }
    for (const double halfHeight : {PictureHalfHeight, VideoHalfHeight}) {
        const double x = 1 / (halfHeight * aspect), y = 1 / halfHeight;
        // The projection of a tile is asymmetric.
        if (isNearly(projection(0, 0), x) && isNearly(projection(1, 1), y) && isNearly(1 + projection(0, 2), 1) &&
            isNearly(1 + projection(1, 2), 1)) {
            result(0, 0) = x;
            result(1, 1) = y;
            result(0, 2) = result(1, 2) = 0;
        }
    }
    return result;
}

double rowLength(const Matrix4& m, unsigned int row)
{
    return std::sqrt(m(row, 0) * m(row, 0) + m(row, 1) * m(row, 1) + m(row, 2) * m(row, 2));
}

Matrix4 withoutLens(const Matrix4& modelView, bool isParallel)
{
    Matrix4 result = Matrix4::identity();
    for (unsigned int axis = 0; axis < 3; ++axis) {
        const unsigned int row = axis == 2 && isParallel ? 3 : axis;
        const double length = rowLength(modelView, row);
        if (!(length > 0) || !std::isfinite(length))
            return Matrix4::identity();
        for (unsigned int c = 0; c < 4; ++c)
            result(axis, c) = modelView(row, c) / length;
    }
    return result;
}

double wholeHeight(const Matrix4& projection, int viewportHeight)
{
    const double narrow = std::fabs(projection(1, 1));
    if (!(narrow > 0) || !std::isfinite(narrow) || narrow == 1 / PictureHalfHeight || narrow == 1 / VideoHalfHeight)
        return viewportHeight;
    return viewportHeight * narrow * PictureHalfHeight;
}

} // namespace

View::View(const Matrix4& transform)
{
    glGetIntegerv(GL_VIEWPORT, viewport);
    viewport[2] = std::max(1, viewport[2]);
    viewport[3] = std::max(1, viewport[3]);
    const Matrix4 projection = withoutRounding(currentMatrix(GL_PROJECTION_MATRIX), double(viewport[2]) / viewport[3]);
    modelView = currentMatrix(GL_MODELVIEW_MATRIX) * transform;
    clip = projection * modelView;
    isParallel = rowLength(modelView, 3) > 0 && rowLength(modelView, 2) <= 1e-12 * rowLength(modelView, 0);
    eye = withoutLens(modelView, isParallel);
    pictureHeight = wholeHeight(projection, viewport[3]);
}

Matrix4 View::clipWithMargin(int margin) const
{
    Matrix4 result = clip;
    for (unsigned int c = 0; c < 4; ++c) {
        result(0, c) *= double(viewport[2]) / (viewport[2] + 2 * margin);
        result(1, c) *= double(viewport[3]) / (viewport[3] + 2 * margin);
    }
    return result;
}

void View::addBounds(const Box& box, const Matrix4& toScene, std::array<double, 4>& bounds) const
{
    if (box.isEmpty())
        return;
    const Matrix4 m = clip * toScene;
    for (int corner = 0; corner < 8; ++corner) {
        const double p[4] = {corner & 1 ? box.high[0] : box.low[0], corner & 2 ? box.high[1] : box.low[1],
                             corner & 4 ? box.high[2] : box.low[2], 1};
        double at[4] = {};
        for (unsigned int r = 0; r < 4; ++r)
            for (unsigned int c = 0; c < 4; ++c)
                at[r] += m(r, c) * p[c];
        if (!(at[3] > 1e-6 * (std::fabs(at[0]) + std::fabs(at[1]))) || !std::isfinite(at[0]) || !std::isfinite(at[1])) {
            bounds = {-1e9, -1e9, 1e9, 1e9};
            return;
        }
        const double x = viewport[0] + (at[0] / at[3] + 1) / 2 * viewport[2];
        const double y = viewport[1] + (at[1] / at[3] + 1) / 2 * viewport[3];
        bounds = {std::min(bounds[0], x), std::min(bounds[1], y), std::max(bounds[2], x), std::max(bounds[3], y)};
    }
}

bool View::isBeyondNearPlane(const Box& box, const Matrix4& toScene) const
{
    const Matrix4 m = clip * toScene;
    for (int corner = 0; corner < 8; ++corner) {
        const double p[4] = {corner & 1 ? box.high[0] : box.low[0], corner & 2 ? box.high[1] : box.low[1],
                             corner & 4 ? box.high[2] : box.low[2], 1};
        double z = 0, w = 0;
        for (unsigned int c = 0; c < 4; ++c) {
            z += m(2, c) * p[c];
            w += m(3, c) * p[c];
        }
        if (!(w > 0 && z > -w))
            return false;
    }
    return true;
}

std::array<double, 2> View::depthRange(const Box& box, const Matrix4& toScene) const
{
    const Matrix4 m = eye * toScene;
    double middle = m(2, 3), reach = 0;
    for (unsigned int axis = 0; axis < 3; ++axis) {
        middle += m(2, axis) * (box.low[axis] + box.high[axis]) / 2;
        reach += std::fabs(m(2, axis)) * (box.high[axis] - box.low[axis]) / 2;
    }
    return {-middle - reach, -middle + reach};
}

Frustum::Frustum(const Matrix4& clip)
{
    for (unsigned int c = 0; c < 4; ++c)
        for (unsigned int axis = 0; axis < 3; ++axis) {
            m_Planes[2 * axis][c] = clip(3, c) + clip(axis, c);
            m_Planes[2 * axis + 1][c] = clip(3, c) - clip(axis, c);
        }
}

bool Frustum::mayShow(const Box& box) const
{
    for (const auto& plane : m_Planes) {
        // The corner that lies farthest inside.
        double corner = plane[3], magnitude = std::fabs(plane[3]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double share = plane[axis] * (plane[axis] > 0 ? box.high[axis] : box.low[axis]);
            corner += share;
            magnitude += std::fabs(share);
        }
        if (corner < -1e-9 * magnitude)
            return false;
    }
    return true;
}

} // namespace tov::scene
