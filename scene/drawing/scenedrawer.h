#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "kernel/util/zpointer.h"
#include "scene/drawing/scenelook.h"
#include "scene/scene.h"

#include <QColor>

#include <memory>

namespace tov::scene {

class SceneElement;

/// Draws a scene into the current context and framebuffer, under the current projection. Takes no lock, does not need
/// the application thread and paints no background; its destructor makes no OpenGL call.
class TOV_EXPORT SceneDrawer
{
public:
    /// Near clipping distance of every view, in scaled scene units.
    static const double ZNEAR;
    /// Far clipping distance of every view.
    static const double ZFAR;

    /// What `glDraw` draws.
    enum Layer
    {
        LayerGeometry = 1,
        LayerAnnotations = 2, ///< lines and measures
        LayerSelection = 4,   ///< the tint of selected parts
        LayerGrid = 8,        ///< grid and axes
        LayersOfPicture = 3,
        LayersOfPanel = 65535,
    };
    enum Primitive
    {
        Points = 1,
        Lines = 2,
        Surfaces = 4,
        AllPrimitives = 7,
    };

    /// Thread: any; the context comes later.
    explicit SceneDrawer(const tov::util::ZPointer<Scene>& scene);
    SceneDrawer(const SceneDrawer&) = delete;
    SceneDrawer& operator=(const SceneDrawer&) = delete;
    ~SceneDrawer();

    /// The background that panels paint and pictures clear to. Thread: any.
    QColor getBackgroundColor() const;
    /// Sets the background for all drawers of the process. Thread: any.
    static void setBackgroundColor(const QColor& color);
    /// Whether the layer of grid and axes shows anything (default: no), for all drawers. Thread: any.
    static bool isGridShown();
    /// Shows or hides grid and axes for all drawers. Thread: any.
    static void setGridShown(bool shown);
    /// The look that all drawers share. Thread: any.
    static SceneLook getLook();
    /// Sets the look of all drawers from the next call of `glDraw` on; values out of range are clamped. Thread: any.
    static void setLook(const SceneLook& look);
    /// `SceneLook::samples` alone. At start the application takes it from the setting "settings/multisampling".
    /// Thread: any.
    static int getMultisampling();
    /// Sets `SceneLook::samples` alone. Thread: any.
    static void setMultisampling(int samples);

    /// For the drawer of a view: `glDraw` shows the selection, and never spends time on preparing later calls. The
    /// default is no. Thread: the current context's.
    void setInteractive(bool isInteractive);
    /// For a view that is being turned: whether large scenes are drawn without samples, and very large ones as points.
    /// Only this drawer; the default is no. Thread: the current context's.
    void setSketching(bool isSketching);
    /// True when the last `glDraw` has drawn a sketch. Thread: the current context's.
    bool hasSketched() const;

    /// Sets the viewport of the current context to (0, 0, width, height), in pixels. Thread: the current context's.
    void resize(int width, int height);

    /// Draws the tree under `root`, or with `second` only that element. The model-view matrix is multiplied by
    /// `transform` (scene to eye, which may hold a lens, see `View::eye`) and restored, as is all other state.
    /// `lineOffset` moves lines towards the eye by that share of the depth range. `layers`: mask of `Layer`;
    /// `primitives`: mask of `Primitive`. Elements are culled chunk by chunk against the current frustum. Needs
    /// OpenGL 3.0 with GL_ARB_uniform_buffer_object and GL_ARB_sampler_objects. Light and materials are those of
    /// `SceneLook`; without GL_LIGHTING the base colours are drawn. Alpha is blended separately (ONE,
    /// ONE_MINUS_SRC_ALPHA), so that glass over a solid stays opaque. Without memory it leaves GL_OUT_OF_MEMORY behind.
    /// The caller must keep the scene from changing. Thread: the current context's.
    void glDraw(SceneElement* root, SceneElement* second, const tov::math::Matrix<double, 4u, 4u>& transform,
                double lineOffset, int layers, int primitives);

private:
    void drawScene(SceneElement* root, SceneElement* second, const tov::math::Matrix<double, 4u, 4u>& transform,
                   double lineOffset, int layers, int primitives);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::scene
