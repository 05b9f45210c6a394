#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "scene/sceneextent.h"

#include <optional>

namespace tov::scene {

struct FileCamera;

/// The directions from which a scene is usually seen.
enum class StandardView
{
    Front,
    Back,
    Left,
    Right,
    Top,
    Bottom,
    Isometric,
};

/// A view: the position of the camera, its direction, and its lens. A plain value in scene units, so it does not depend
/// on the global scaling. The camera looks along -z of the eye axes at a target, +y is up.
struct TOV_EXPORT Camera
{
    /// The vertical field of view of pictures (degrees): 2 atan(`PictureHalfHeight`).
    static const double DefaultFieldOfView;
    static constexpr double MinFieldOfView = 1;
    static constexpr double MaxFieldOfView = 150;

    tov::math::Matrix4 rotation = tov::math::Matrix4::identity(); ///< scene axes to eye axes
    Vector3 target = {0, 0, 0};                                   ///< scene units
    double distance = 3000;                                       ///< eye to target, scene units, above 0
    double fieldOfView = DefaultFieldOfView;                      ///< vertical, degrees
    /// Parallel projection. It shows as much of the target's plane as the perspective camera does, so `distance` and
    /// `fieldOfView` set the visible height for both.
    bool orthographic = false;

    /// The position of the camera.
    Vector3 position() const;
    /// The camera's y axis in the scene, which points up in the picture.
    Vector3 up() const;
    /// Half the height that the picture shows in the target's plane, scene units.
    double halfHeight() const;
    /// Scene to eye, a rigid motion, without lens and scaling.
    tov::math::Matrix4 toEye() const;
    /// Eye to scene, the inverse of `toEye`.
    tov::math::Matrix4 pose() const;
    /// Scene to eye with lens and global scaling, for projections of `PictureHalfHeight`. A field of view is a factor
    /// on x and y of the eye. An orthographic lens is projective: it swaps depth and w, so that clip w is 1 under any
    /// perspective projection with the planes `SceneDrawer::ZNEAR` and `ZFAR`. The scene always lies between the
    /// planes: for a camera far away the scaling is reduced, which does not change the picture.
    tov::math::Matrix4 scaledMatrix(const SceneExtent& extent) const;

    /// Orbits about the target: degrees to the right (about the scene's upright axis) and up, as the camera moves; then
    /// the picture is rolled counter-clockwise.
    void orbit(double azimuth, double elevation, double roll = 0);
    /// Moves the camera in its picture plane, scene units to the right and up.
    void shift(double right, double up);
};

/// The rotation of a standard view. Thread: any, as for all functions here.
TOV_EXPORT tov::math::Matrix4 standardRotation(StandardView view);

/// A camera at `position` that looks at `target`, with the lens of `lens`. When `up` is parallel to the view direction
/// another axis is up. No value if the points coincide or a value is not finite.
TOV_EXPORT std::optional<Camera> lookAt(const Vector3& position, const Vector3& target, const Vector3& up,
                                        const Camera& lens = Camera());

/// The camera at a pose (eye to scene; its scale is ignored), with lens and distance of `like`. No value if the matrix
/// is not invertible or not finite.
TOV_EXPORT std::optional<Camera> cameraOfPose(const tov::math::Matrix4& eyeToScene, const Camera& like = Camera());

/// The camera of which `scaledMatrix` is the matrix: the inverse of `Camera::scaledMatrix`. Values that the matrix does
/// not hold (the distance to the target, or the field of view of an orthographic lens) are taken from `like`. No value
/// for matrices that are not such views.
TOV_EXPORT std::optional<Camera> cameraOfMatrix(const tov::math::Matrix4& scaledMatrix, const SceneExtent& extent,
                                                const Camera& like = Camera());

/// The camera of a file at its element. The target is as far ahead as the centre of the scene. No value if the camera
/// has no element or the element's transform is not a view. The caller must keep the scene from changing.
TOV_EXPORT std::optional<Camera> cameraOfFile(const FileCamera& camera, const SceneExtent& extent);

/// A ray in the scene.
struct Ray
{
    Vector3 origin = {0, 0, 0};
    Vector3 direction = {0, 0, -1}; ///< unit length
};

/// The ray through a point of the picture; x and y from -1 (left, bottom) to 1 (right, top). `aspect` is width divided
/// by height. Works for every matrix that `Camera::scaledMatrix` makes. No value for singular matrices.
TOV_EXPORT std::optional<Ray> rayThrough(const tov::math::Matrix4& scaledMatrix, double x, double y, double aspect);

/// Finds the camera position from which a set of points just fits into the picture. Give it the points, then take the
/// camera. Exact for points, whatever the view, aspect and lens.
class TOV_EXPORT ViewFitter
{
public:
    /// The margin around a fitted scene. It also covers videos, whose field of view (45 degrees) is narrower than that
    /// of pictures (46.29) by a factor of 1.032.
    static constexpr double Margin = 1.04;

    /// `camera` gives direction and lens, `aspect` is width divided by height.
    ViewFitter(const Camera& camera, double aspect);

    /// Adds a point in scene units.
    void add(const Vector3& point);
    /// True until a point is added.
    bool isEmpty() const { return m_Front < m_Back; }
    /// The camera that shows all points as large as possible, with the target in their middle. `minimumDistance`: from
    /// the eye to the nearest point. Without points, the camera is unchanged.
    Camera fitted(double minimumDistance) const;
    /// The unchanged camera, moved back along its view direction just far enough to show all points; never forward.
    Camera movedBack(double minimumDistance) const;

private:
    Camera m_Camera;
    double m_TanX, m_TanY;
    /// Extremes over the points in eye axes relative to the target: x + tanX z and so on for the four sides.
    double m_Right = -1e300, m_Left = -1e300, m_Up = -1e300, m_Down = -1e300, m_Front = -1e300, m_Back = 1e300;
};

} // namespace tov::scene
