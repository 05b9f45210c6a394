#include "scene/drawing/scenedrawer.h"

#include "scene/drawing/batcher.h"
#include "scene/drawing/drawbuffers.h"
#include "scene/drawing/drawingarea.h"
#include "scene/drawing/multisampler.h"
#include "scene/drawing/painter.h"
#include "scene/drawing/savedstate.h"
#include "scene/drawing/sharedobjects.h"
#include "scene/geometryelement.h"
#include "scene/sceneview.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <iterator>
#include <limits>
#include <new>

namespace tov::scene {

using tov::math::Matrix4;

const double SceneDrawer::ZNEAR = NearDistance;
const double SceneDrawer::ZFAR = FarDistance;

namespace {

std::atomic<QRgb> background{qRgb(38, 42, 51)};
std::atomic<bool> gridShown{false};

/// A grid under the scene and its three axes.
void drawGrid(const Box& box)
{
    double size = 1e-6;
    for (int axis = 0; axis < 3; ++axis)
        size = std::max(size, box.high[axis] - box.low[axis]);
    const double step = std::pow(10.0, std::floor(std::log10(size)));
    const double low = box.low[1];
    const int reach = int(std::ceil(size / step)) + 1;
    const double cx = std::round((box.low[0] + box.high[0]) / 2 / step) * step;
    const double cz = std::round((box.low[2] + box.high[2]) / 2 / step) * step;
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

/// Whether the requested layers and primitives include an element.
bool isWanted(const GeometryElement& element, int layers, int primitives)
{
    switch (element.getKind()) {
    case Geometry::Kind::Surfaces:
        return (layers & SceneDrawer::LayerGeometry) && (primitives & SceneDrawer::Surfaces);
    case Geometry::Kind::Lines:
        return (layers & SceneDrawer::LayerAnnotations) && (primitives & SceneDrawer::Lines);
    default:
        return (layers & SceneDrawer::LayerGeometry) && (primitives & SceneDrawer::Points);
    }
}

/// `only`, or else everything visible under `root`.
std::vector<DrawItem> itemsOf(const SceneElement* root, const SceneElement* only)
{
    std::vector<DrawItem> items;
    if (!only) {
        forEachVisible(root, [&items](const GeometryElement& element, const Matrix4& toScene) {
            items.push_back({&element, toScene});
        });
    } else if (const auto* element = dynamic_cast<const GeometryElement*>(only)) {
        Matrix4 toScene = element->getTransform() * translation(element->getOrigin());
        for (const SceneElement* above = element->getParent(); above; above = above->getParent())
            toScene = above->getTransform() * toScene;
        items.push_back({element, toScene});
    }
    return items;
}

/// Scenes with fewer triangles are always drawn completely.
constexpr std::size_t LeastUnsmoothedTriangles = 20000;
/// Scenes with fewer triangles are never sketched with points.
constexpr std::size_t LeastSketchTriangles = 300000;
/// About as many points as are drawn in a tenth of the time of those triangles.
constexpr std::size_t SketchPoints = 80000;

/// Once a drawer has drawn that many pixels, solid bodies are looked for: in recordings and large pictures. Drawing
/// only their outer sides then saves more time than the search takes.
constexpr std::int64_t LeastSolidPixels = 8000000;

/// How a scene is sketched: the vertices per point (1: no sketch), and the size of a point.
struct Sketch
{
    std::size_t step = 1;
    double pixels = 1;
    bool isUnsmoothed = false;
};

Sketch sketchOf(const View& view, const std::vector<DrawItem>& items)
{
    std::size_t triangles = 0, vertices = 0;
    std::array<double, 4> bounds = {1e9, 1e9, -1e9, -1e9};
    for (const DrawItem& item : items) {
        if (item.element->getKind() != Geometry::Kind::Surfaces)
            continue;
        triangles += item.element->getIndices().size() / 3;
        vertices += item.element->getVertices().size();
        view.addBounds(item.element->getBox(), item.toScene, bounds);
    }
    if (triangles < LeastSketchTriangles)
        return {1, 1, triangles >= LeastUnsmoothedTriangles};
    const double width = std::clamp(bounds[2] - bounds[0], 1.0, double(view.viewport[2]));
    const double height = std::clamp(bounds[3] - bounds[1], 1.0, double(view.viewport[3]));
    const std::size_t step = (vertices + SketchPoints - 1) / SketchPoints;
    // Half of the points are on the far side; the others overlap, so that the surface has no holes.
    const double perPoint = width * height * double(step) / double(std::max<std::size_t>(1, vertices));
    return {step, std::clamp(2.7 * std::sqrt(perPoint), 1.0, 16.0), true};
}

/// Points and lines are drawn into a larger viewport, so that those next to a tile extend into it; this keeps them from
/// drawing outside of the tile.
void clipTo(const std::array<int, 4>& area)
{
    glScissor(area[0], area[1], area[2], area[3]);
    glEnable(GL_SCISSOR_TEST);
}

/// The colour of the selection, over that of the parts.
const QColor SelectionColor(255, 168, 20, 110);
/// How far the selection is drawn in front of its parts, as a share of the range from -1 to 1: a few steps of a depth
/// buffer of 24 bits.
constexpr double SelectionOffset = 5e-7;

std::vector<DrawItem> selectedOf(const std::vector<DrawItem>& items)
{
    std::vector<DrawItem> selected;
    std::copy_if(items.begin(), items.end(), std::back_inserter(selected),
                 [](const DrawItem& item) { return isInSelection(item.element); });
    return selected;
}

/// Tints the selected parts where they are seen.
void drawSelection(const std::vector<DrawItem>& selected, const View& view, SceneLook look, const Sketch& sketch,
                   bool isMultisampled, UniformBuffer& uniforms)
{
    View nearer = view;
    for (unsigned int c = 0; c < 4; ++c)
        nearer.clip(2, c) -= SelectionOffset * nearer.clip(3, c);
    look.color = SelectionColor;
    look.light = SceneLook::Light::None;
    look.show = SceneLook::Show::Surface;
    look.hasFeatureEdges = false;
    Painter painter(nearer, look, isMultisampled, 0);
    painter.sketch(sketch.step, sketch.pixels);
    for (const DrawItem& item : selected)
        painter.add(item);
    glDepthFunc(GL_LEQUAL);
    painter.draw(uniforms);
}

/// The grid: lines without light, under the view's matrix.
void drawGridLayer(const View& view, const SceneElement* root)
{
    const Box box = visibleBox(root);
    if (box.isEmpty())
        return;
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    gl->glUseProgram(0);
    gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    gl->glViewport(view.viewport[0], view.viewport[1], view.viewport[2], view.viewport[3]);
    for (const GLenum what : {GL_LIGHTING, GL_BLEND, GL_CULL_FACE, GL_TEXTURE_2D, GL_TEXTURE_3D})
        gl->glDisable(what);
    gl->glDepthMask(GL_TRUE);
    glDepthRange(0, 1);
    glLineWidth(1);
    glLoadMatrixd(view.modelView.transposed().data());
    drawGrid(box);
}

/// Leaves GL_OUT_OF_MEMORY behind, as a driver without memory does, so that the caller drops the frame. No driver has
/// a buffer of that size.
void raiseOutOfMemory()
{
    auto* gl = QOpenGLContext::currentContext()->functions();
    GLuint buffer = 0;
    gl->glGenBuffers(1, &buffer);
    gl->glBindBuffer(GL_ARRAY_BUFFER, buffer);
    gl->glBufferData(GL_ARRAY_BUFFER, std::numeric_limits<GLsizeiptr>::max(), nullptr, GL_STATIC_DRAW);
    gl->glDeleteBuffers(1, &buffer);
}

} // namespace

struct SceneDrawer::Private
{
    tov::util::ZPointer<Scene> scene;
    UniformBuffer uniforms;
    SampleBuffer samples;
    Batcher batcher;
    bool isInteractive = false;
    bool isSketching = false;
    bool hasSketched = false;
    std::int64_t drawnPixels = 0;
};

SceneDrawer::SceneDrawer(const tov::util::ZPointer<Scene>& scene) : d(new Private{scene, {}, {}, {}}) {}
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

void SceneDrawer::setInteractive(bool isInteractive)
{
    d->isInteractive = isInteractive;
}

void SceneDrawer::setSketching(bool isSketching)
{
    d->isSketching = isSketching;
}

bool SceneDrawer::hasSketched() const
{
    return d->hasSketched;
}

void SceneDrawer::resize(int width, int height)
{
    glViewport(0, 0, width, height);
}

void SceneDrawer::glDraw(SceneElement* root, SceneElement* second, const Matrix4& transform, double lineOffset,
                         int layers, int primitives)
{
    try {
        drawScene(root, second, transform, lineOffset, layers, primitives);
    } catch (const std::bad_alloc&) {
        raiseOutOfMemory();
    }
}

void SceneDrawer::drawScene(SceneElement* root, SceneElement* second, const Matrix4& transform, double lineOffset,
                            int layers, int primitives)
{
    GeometryElement::Buffers::collect();
    shared::collect();
    if (!root && !second)
        return;
    SceneLook look = getLook();
    if (!glIsEnabled(GL_LIGHTING))
        look.light = SceneLook::Light::None;
    const SavedState state;
    const View view(transform);
    const auto items = itemsOf(root, second);
    std::vector<DrawItem> wanted;
    for (const DrawItem& item : items)
        if (isWanted(*item.element, layers, primitives))
            wanted.push_back(item);
    wanted = d->batcher.merged(wanted);
    const Sketch sketch = d->isSketching ? sketchOf(view, wanted) : Sketch();
    // Without samples, software renderers draw several times faster.
    d->hasSketched = sketch.step > 1 || (sketch.isUnsmoothed && look.samples > 1);
    if (d->hasSketched)
        look.samples = 0;
    const bool hasGrid = gridShown && root && (layers & LayerGrid);
    const DrawingArea area(view, wanted, look, hasGrid);
    const Multisampler multisampler(d->samples, look.samples, area);
    Painter painter(view, look, multisampler.isActive(), lineOffset);
    painter.sketch(sketch.step, sketch.pixels);
    d->drawnPixels += std::int64_t(view.viewport[2]) * view.viewport[3];
    if (!d->isInteractive && d->drawnPixels >= LeastSolidPixels)
        painter.examineSolidity();
    for (const DrawItem& item : wanted)
        painter.add(item);
    clipTo(area.bounds);
    painter.draw(d->uniforms);
    // A recording asks for everything that a view shows, but the selection is for the user only.
    const bool showsSelection = d->isInteractive && (layers & LayerSelection);
    const auto selected = showsSelection ? selectedOf(items) : std::vector<DrawItem>();
    if (!selected.empty())
        drawSelection(selected, view, look, sketch, multisampler.isActive(), d->uniforms);
    if (hasGrid)
        drawGridLayer(view, root);
}

} // namespace tov::scene
