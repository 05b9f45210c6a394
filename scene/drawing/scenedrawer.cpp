#include "scene/drawing/scenedrawer.h"

#include "scene/drawing/drawbuffers.h"
#include "scene/geometryelement.h"
#include "scene/drawing/multisampler.h"
#include "scene/sceneview.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <GL/gl.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>

namespace tov::scene {

using tov::math::Matrix4;

const double SceneDrawer::ZNEAR = 1.0;
const double SceneDrawer::ZFAR = 10000.0;

namespace {

std::atomic<QRgb> background{qRgb(38, 42, 51)};
std::atomic<bool> gridShown{false};

/// Points and lines are some pixels wide; what lies that far outside a tile still reaches into it.
constexpr double WidePixels = 4.0;

struct DrawItem
{
    const GeometryElement* element;
    Matrix4 toScene;
};

/// The current frustum as the six planes of `projection * modelView`, each plane * (x, y, z, 1) >= 0 inside.
struct Frustum
{
    double planes[6][4];

    Frustum(const Matrix4& clip, double marginX, double marginY)
    {
        for (int c = 0; c < 4; ++c) {
            planes[0][c] = (1 + marginX) * clip(3, c) + clip(0, c);
            planes[1][c] = (1 + marginX) * clip(3, c) - clip(0, c);
            planes[2][c] = (1 + marginY) * clip(3, c) + clip(1, c);
            planes[3][c] = (1 + marginY) * clip(3, c) - clip(1, c);
            planes[4][c] = clip(3, c) + clip(2, c);
            planes[5][c] = clip(3, c) - clip(2, c);
        }
    }

    /// False only when the box lies wholly behind one plane; rounding errs towards drawing.
    bool mayShow(const Box& box) const
    {
        for (const auto& plane : planes)
            if (cornerAt(plane, box.high, box.low) < 0)
                return false;
        return true;
    }

private:
    /// Where a box's corner lies: inside the plane above 0, behind it below 0, within rounding 0. The corner is at
    /// `rising` on the axes that lead inside and at `falling` on the others.
    static double cornerAt(const double (&plane)[4], const std::array<double, 3>& rising,
                           const std::array<double, 3>& falling)
    {
        double corner = plane[3], magnitude = std::fabs(plane[3]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double share = plane[axis] * (plane[axis] > 0 ? rising[axis] : falling[axis]);
            corner += share;
            magnitude += std::fabs(share);
        }
        return std::fabs(corner) > 1e-9 * magnitude ? corner : 0;
    }
};

Matrix4 currentMatrix(GLenum which)
{
    Matrix4 columns;
    glGetDoublev(which, columns.data());
    return columns.transposed();
}

void multiply(const Matrix4& matrix)
{
    glMultMatrixd(matrix.transposed().data());
}

void drawElement(const GeometryElement& element, const Matrix4& toScene, const Matrix4& clipOfScene, double marginX,
                 double marginY)
{
    const bool wide = element.getKind() != Geometry::Kind::Surfaces;
    const Frustum frustum(clipOfScene * toScene, wide ? marginX : 0.0, wide ? marginY : 0.0);
    if (element.getIndices().empty() || !frustum.mayShow(element.getBox()))
        return;
    const GLenum mode = element.getKind() == Geometry::Kind::Surfaces ? GL_TRIANGLES
                        : element.getKind() == Geometry::Kind::Lines  ? GL_LINES
                                                                      : GL_POINTS;
    const auto buffers = element.mp_Buffers->obtain(element);
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    gl->glBindBuffer(GL_ARRAY_BUFFER, buffers.vertices);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers.indices);
    typedef GeometryElement::Vertex Vertex;
    const auto offset = [](std::size_t bytes) { return reinterpret_cast<const void*>(bytes); };
    glVertexPointer(3, GL_FLOAT, sizeof(Vertex), offset(offsetof(Vertex, position)));
    glNormalPointer(GL_FLOAT, sizeof(Vertex), offset(offsetof(Vertex, normal)));
    const QColor color = displayColor(*element.getMaterial());
    glColor4f(float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF()));

    glPushMatrix();
    multiply(toScene);
    if (wide)
        glDisable(GL_LIGHTING);
    // Neighbouring chunks that may show go into one call.
    const auto& chunks = element.getChunks();
    for (std::size_t i = 0; i < chunks.size();) {
        if (!frustum.mayShow(chunks[i].box)) {
            ++i;
            continue;
        }
        const std::size_t first = chunks[i].firstIndex;
        std::size_t count = 0;
        for (; i < chunks.size() && frustum.mayShow(chunks[i].box); ++i)
            count += chunks[i].indexCount;
        glDrawElements(mode, GLsizei(count), GL_UNSIGNED_INT, offset(first * sizeof(std::uint32_t)));
    }
    if (wide)
        glEnable(GL_LIGHTING);
    glPopMatrix();
}

void drawBox(const Box& box, const Matrix4& toScene)
{
    static const int edges[12][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {0, 2}, {1, 3},
                                     {4, 6}, {5, 7}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
    glPushMatrix();
    multiply(toScene);
    glBegin(GL_LINES);
    for (const auto& edge : edges)
        for (const int corner : edge)
            glVertex3d(corner & 1 ? box.high[0] : box.low[0], corner & 2 ? box.high[1] : box.low[1],
                       corner & 4 ? box.high[2] : box.low[2]);
    glEnd();
    glPopMatrix();
}

/// A grid under the scene and its three axes.
void drawGrid(const Box& box)
{
    // In doubles: sums and extents of floats may leave the range of floats.
    double size = 1e-6;
    for (int axis = 0; axis < 3; ++axis)
        size = std::max(size, double(box.high[axis]) - box.low[axis]);
    const double step = std::pow(10.0, std::floor(std::log10(size)));
    const double low = box.low[1];
    const int reach = int(std::ceil(size / step)) + 1;
    const double cx = std::round((double(box.low[0]) + box.high[0]) / 2 / step) * step;
    const double cz = std::round((double(box.low[2]) + box.high[2]) / 2 / step) * step;
    glBegin(GL_LINES);
    glColor4ub(128, 128, 128, 255);
    for (int i = -reach; i <= reach; ++i) {
        glVertex3d(cx + i * step, low, cz - reach * step);
        glVertex3d(cx + i * step, low, cz + reach * step);
        glVertex3d(cx - reach * step, low, cz + i * step);
        glVertex3d(cx + reach * step, low, cz + i * step);
    }
    for (int axis = 0; axis < 3; ++axis) {
        glColor4ub(axis == 0 ? 230 : 60, axis == 1 ? 200 : 60, axis == 2 ? 240 : 60, 255);
        glVertex3d(0, 0, 0);
        glVertex3d(axis == 0 ? size : 0, axis == 1 ? size : 0, axis == 2 ? size : 0);
    }
    glEnd();
}

} // namespace

struct SceneDrawer::Private
{
    tov::util::ZPointer<Scene> scene;
};

SceneDrawer::SceneDrawer(const tov::util::ZPointer<Scene>& scene) : d(new Private{scene}) {}
SceneDrawer::~SceneDrawer() = default;

QColor SceneDrawer::getBackgroundColor() const
{
    return QColor::fromRgb(background);
}

void SceneDrawer::setBackgroundColor(const QColor& color)
{
    background = color.rgb();
}

bool SceneDrawer::isGridShown()
{
    return gridShown;
}

void SceneDrawer::setGridShown(bool shown)
{
    gridShown = shown;
}

void SceneDrawer::resize(int width, int height)
{
    glViewport(0, 0, width, height);
}

void SceneDrawer::glDraw(SceneElement* root, SceneElement* second, const Matrix4& transform, double lineOffset,
                         int layers, int primitives)
{
    GeometryElement::Buffers::collect();
    if (!root && !second)
        return;
    const Multisampler multisampler;

    glPushAttrib(GL_ENABLE_BIT | GL_LIGHTING_BIT | GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT | GL_LINE_BIT | GL_POINT_BIT |
                 GL_TRANSFORM_BIT | GL_DEPTH_BUFFER_BIT | GL_VIEWPORT_BIT | GL_POLYGON_BIT);
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    multiply(transform);

    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    const double marginX = 2 * WidePixels / std::max(1, viewport[2]);
    const double marginY = 2 * WidePixels / std::max(1, viewport[3]);
    const Matrix4 eyeOfScene = currentMatrix(GL_MODELVIEW_MATRIX);
    const Matrix4 clipOfScene = currentMatrix(GL_PROJECTION_MATRIX) * eyeOfScene;

    glEnable(GL_NORMALIZE);
    glDisable(GL_CULL_FACE);
    glFrontFace(GL_CCW);
    glEnable(GL_BLEND);
    // Alpha apart: something translucent over something solid stays solid.
    QOpenGLContext::currentContext()->functions()->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE,
                                                                       GL_ONE_MINUS_SRC_ALPHA);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    glPointSize(2.0f);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);

    std::vector<DrawItem> items;
    if (second) {
        // One element only: its transform is that of the path from its root.
        const auto* shape = dynamic_cast<const GeometryElement*>(second);
        Matrix4 toScene = second->getTransform() * (shape ? translation(shape->getOrigin()) : Matrix4::identity());
        for (const SceneElement* above = second->getParent(); above; above = above->getParent())
            toScene = above->getTransform() * toScene;
        if (const auto* geometry = dynamic_cast<const GeometryElement*>(second))
            items.push_back({geometry, toScene});
    } else {
        forEachVisible(root, [&items](const GeometryElement& element, const Matrix4& toScene) {
            items.push_back({&element, toScene});
        });
    }
    const auto wanted = [layers, primitives](const GeometryElement& element) {
        switch (element.getKind()) {
        case Geometry::Kind::Surfaces:
            return (layers & LayerGeometry) && (primitives & Surfaces);
        case Geometry::Kind::Lines:
            return (layers & LayerAnnotations) && (primitives & Lines);
        default:
            return (layers & LayerGeometry) && (primitives & Points);
        }
    };
    // Solids first; what can be looked through then leaves the depth alone.
    for (const bool transparent : {false, true}) {
        if (transparent)
            glDepthMask(GL_FALSE);
        for (const DrawItem& item : items) {
            if (item.element->isTransparent() != transparent || !wanted(*item.element))
                continue;
            const bool lines = item.element->getKind() == Geometry::Kind::Lines;
            if (lines && lineOffset > 0)
                glDepthRange(0.0, 1.0 - lineOffset);
            drawElement(*item.element, item.toScene, clipOfScene, marginX, marginY);
            if (lines && lineOffset > 0)
                glDepthRange(0.0, 1.0);
        }
    }
    glDepthMask(GL_TRUE);
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    if (layers & (LayerSelection | LayerGrid)) {
        QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
        gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        glDisable(GL_LIGHTING);
        if (layers & LayerSelection) {
            glColor4ub(255, 176, 32, 255);
            for (const DrawItem& item : items)
                if (item.element->isSelected() && !item.element->getBox().isEmpty())
                    drawBox(item.element->getBox(), item.toScene);
        }
        if ((layers & LayerGrid) && gridShown && root) {
            const Box box = visibleBox(root);
            if (!box.isEmpty())
                drawGrid(box);
        }
    }
    glPopMatrix();
    glPopClientAttrib();
    glPopAttrib();
}

} // namespace tov::scene
