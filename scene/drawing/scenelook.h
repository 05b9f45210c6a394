#pragma once

#include "kernel/main/export.h"
#include "scene/clipplane.h"
#include "scene/drawing/environment.h"

#include <QColor>
#include <QString>

#include <memory>
#include <optional>

namespace tov::scene {

/// How scenes are drawn; one for the whole process, see `SceneDrawer::setLook`.
struct SceneLook
{
    enum class Light
    {
        Studio,      ///< key and fill light fixed to the camera, and a built-in studio around the scene
        Headlight,   ///< one light at the camera, no reflections
        None,        ///< the base colour as it is
        Environment, ///< `environment` around the scene, fixed to the scene
    };
    enum class Show
    {
        Surface,
        SurfaceWithEdges, ///< the edges of all triangles on top of the surface
        Wireframe,        ///< the edges of all triangles only
        Points,           ///< the vertices only
    };

    Light light = Light::Studio;
    std::shared_ptr<const Environment> environment; ///< for `Light::Environment`; null: the studio's
    QString environmentFile;                        ///< where `environment` was read from; empty: unknown
    double exposure = 1;                            ///< multiplies all light; not used by `Light::None`
    Show show = Show::Surface;
    bool hasFeatureEdges = false;  ///< draws open edges and edges sharper than 30 degrees
    bool isFlat = false;           ///< every triangle has one normal
    std::optional<QColor> color;   ///< one colour for everything, in place of all materials
    std::optional<ClipPlane> clip; ///< hides what is beyond; surfaces are then drawn from both sides
    QColor edgeColor = QColor(20, 22, 26);
    double pointSize = 1.0 / 270; ///< diameter of a point, as a share of the picture's height
    /// Width of a line, as a share of the picture's height; at least a pixel, at most what the driver draws
    /// (GL_ALIASED_LINE_WIDTH_RANGE; common are 10 to 255 pixels).
    double lineWidth = 1.0 / 720;
    int samples = 0; ///< per pixel, for smooth edges: 0 (off) or 2 to 8
};

} // namespace tov::scene
