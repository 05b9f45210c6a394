#include "scene/view/camera.h"

#include "scene/drawing/scenedrawer.h"
#include "scene/model.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"

#include <algorithm>
#include <cmath>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

constexpr double Pi = 3.14159265358979323846;
/// Depth at which an orthographic lens puts the centre of the scene: the middle between the clipping planes.
constexpr double OrthographicDepth = 5000;
/// Share of the far clipping distance that the farthest point of the scene may reach.
constexpr double FarShare = 0.95;

double radians(double degrees)
{
    return degrees * Pi / 180;
}

double tanHalf(const Camera& camera)
{
    return std::tan(radians(camera.fieldOfView) / 2);
}

Vector3 minus(const Vector3& a, const Vector3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector3& a, const Vector3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double length(const Vector3& v)
{
    return std::hypot(v[0], v[1], v[2]);
}

Vector3 row(const Matrix4& m, unsigned int r)
{
    return {m(r, 0), m(r, 1), m(r, 2)};
}

Vector3 column(const Matrix4& m, unsigned int c)
{
    return {m(0, c), m(1, c), m(2, c)};
}

Vector3 normalized(const Vector3& v)
{
    const double size = length(v);
    return {v[0] / size, v[1] / size, v[2] / size};
}

bool isFinite(const Matrix4& m)
{
    return std::all_of(m.data(), m.data() + 16, [](double value) { return std::isfinite(value); });
}

/// A counter-clockwise rotation about axis 0 (x), 1 (y) or 2 (z).
Matrix4 rotationAbout(unsigned int axis, double degrees)
{
    const unsigned int first = (axis + 1) % 3, second = (axis + 2) % 3;
    Matrix4 m = Matrix4::identity();
    m(first, first) = m(second, second) = std::cos(radians(degrees));
    m(second, first) = std::sin(radians(degrees));
    m(first, second) = -m(second, first);
    return m;
}

/// `rotation` is orthonormal, so its transpose takes eye axes to scene axes.
Vector3 toSceneAxes(const Matrix4& rotation, const Vector3& v)
{
    return transformed(rotation.transposed(), v[0], v[1], v[2]);
}

/// A rotation from the directions of the eye's z (backwards) and roughly its y; no value if they are parallel.
std::optional<Matrix4> rotationFrom(const Vector3& back, const Vector3& up)
{
    const Vector3 right = cross(up, back);
    if (!(length(right) > 1e-9 * length(up) * length(back)))
        return std::nullopt;
    const Vector3 x = normalized(right), z = normalized(back), y = cross(z, x);
    Matrix4 rotation = Matrix4::identity();
    for (unsigned int c = 0; c < 3; ++c) {
        rotation(0, c) = x[c];
        rotation(1, c) = y[c];
        rotation(2, c) = z[c];
    }
    return rotation;
}

} // namespace

const double Camera::DefaultFieldOfView = 2 * std::atan(PictureHalfHeight) * 180 / Pi;

Vector3 Camera::position() const
{
    const Vector3 back = toSceneAxes(rotation, {0, 0, distance});
    return {target[0] + back[0], target[1] + back[1], target[2] + back[2]};
}

Vector3 Camera::up() const
{
    return row(rotation, 1);
}

double Camera::halfHeight() const
{
    return distance * tanHalf(*this);
}

Matrix4 Camera::toEye() const
{
    const Vector3 at = transformed(rotation, target[0], target[1], target[2]);
    Matrix4 matrix = rotation;
    matrix(0, 3) = -at[0];
    matrix(1, 3) = -at[1];
    matrix(2, 3) = -at[2] - distance;
    return matrix;
}

Matrix4 Camera::pose() const
{
    Matrix4 matrix = rotation.transposed();
    const Vector3 at = position();
    for (unsigned int axis = 0; axis < 3; ++axis)
        matrix(axis, 3) = at[axis];
    return matrix;
}

Matrix4 Camera::scaledMatrix(const SceneExtent& extent) const
{
    const Matrix4 eye = toEye();
    const Vector3 center = transformed(eye, extent.center[0], extent.center[1], extent.center[2]);
    Matrix4 scale = Matrix4::identity();
    if (!orthographic) {
        const double farthest = length(center) + extent.radius();
        const double scaling = std::min(extent.scaling, SceneDrawer::ZFAR * FarShare / farthest);
        const double lens = PictureHalfHeight / tanHalf(*this);
        scale(0, 0) = scale(1, 1) = scaling * lens;
        scale(2, 2) = scaling;
        return scale * eye;
    }
    // Depth of the scene's centre in the middle, wherever the camera is: only directions matter.
    for (unsigned int axis = 0; axis < 3; ++axis)
        scale(axis, axis) = extent.scaling;
    scale(2, 3) = -OrthographicDepth - center[2] * extent.scaling;
    Matrix4 lens = Matrix4::identity();
    lens(0, 0) = lens(1, 1) = PictureHalfHeight / (halfHeight() * extent.scaling);
    lens(2, 2) = 0;
    lens(2, 3) = -1;
    lens(3, 2) = 1 / (SceneDrawer::ZNEAR * SceneDrawer::ZFAR);
    lens(3, 3) = 1 / SceneDrawer::ZNEAR + 1 / SceneDrawer::ZFAR;
    return lens * scale * eye;
}

void Camera::orbit(double azimuth, double elevation, double roll)
{
    rotation = rotationAbout(2, roll) * rotationAbout(0, elevation) * rotation * rotationAbout(1, -azimuth);
}

void Camera::shift(double right, double up)
{
    const Vector3 by = toSceneAxes(rotation, {right, up, 0});
    for (std::size_t axis = 0; axis < 3; ++axis)
        target[axis] += by[axis];
}

Matrix4 standardRotation(StandardView view)
{
    double azimuth = 0, elevation = 0;
    switch (view) {
    case StandardView::Front:
        break;
    case StandardView::Back:
        azimuth = 180;
        break;
    case StandardView::Left:
        azimuth = -90;
        break;
    case StandardView::Right:
        azimuth = 90;
        break;
    case StandardView::Top:
        elevation = 90;
        break;
    case StandardView::Bottom:
        elevation = -90;
        break;
    case StandardView::Isometric:
        azimuth = 45;
        elevation = 35.264389682754654; // atan(1 / sqrt 2): all three axes are foreshortened equally
        break;
    }
    return rotationAbout(0, elevation) * rotationAbout(1, -azimuth);
}

std::optional<Camera> lookAt(const Vector3& position, const Vector3& target, const Vector3& up, const Camera& lens)
{
    const Vector3 back = minus(position, target);
    const double distance = length(back);
    if (!std::isfinite(distance) || !(distance > 0) || !std::isfinite(length(up)))
        return std::nullopt;
    auto rotation = rotationFrom(back, up);
    for (const Vector3& other : {Vector3{0, 1, 0}, Vector3{0, 0, -1}})
        if (!rotation)
            rotation = rotationFrom(back, other);
    Camera camera = lens;
    camera.rotation = *rotation;
    camera.target = target;
    camera.distance = distance;
    return camera;
}

std::optional<Camera> cameraOfPose(const Matrix4& eyeToScene, const Camera& like)
{
    Matrix4 inverse;
    if (!isFinite(eyeToScene) || !inverted(eyeToScene, inverse))
        return std::nullopt;
    const auto rotation = rotationFrom(column(eyeToScene, 2), column(eyeToScene, 1));
    if (!rotation)
        return std::nullopt;
    Camera camera = like;
    camera.rotation = *rotation;
    const Vector3 ahead = toSceneAxes(*rotation, {0, 0, -like.distance});
    for (unsigned int axis = 0; axis < 3; ++axis)
        camera.target[axis] = eyeToScene(axis, 3) + ahead[axis];
    return camera;
}

namespace {

/// The part of `cameraOfMatrix` for lenses that swap depth and w.
std::optional<Camera> orthographicCameraOf(const Matrix4& matrix, const SceneExtent& extent, const Camera& like)
{
    const double scale = length(row(matrix, 0)); // PictureHalfHeight / half height
    const auto rotation = rotationFrom(row(matrix, 3), row(matrix, 1));
    if (!(scale > 0) || !rotation)
        return std::nullopt;
    Camera camera = like;
    camera.orthographic = true;
    camera.rotation = *rotation;
    camera.distance = PictureHalfHeight / scale / tanHalf(like);
    const Vector3 center = transformed(*rotation, extent.center[0], extent.center[1], extent.center[2]);
    camera.target = toSceneAxes(*rotation, {-matrix(0, 3) / scale, -matrix(1, 3) / scale, center[2]});
    return camera;
}

} // namespace

std::optional<Camera> cameraOfMatrix(const Matrix4& matrix, const SceneExtent& extent, const Camera& like)
{
    Matrix4 inverse;
    if (!isFinite(matrix) || !inverted(matrix, inverse))
        return std::nullopt;
    if (length(row(matrix, 3)) > 0)
        return orthographicCameraOf(matrix, extent, like);
    const auto rotation = rotationFrom(row(matrix, 2), row(matrix, 1));
    if (!rotation || !(matrix(3, 3) > 0))
        return std::nullopt;
    Camera camera = like;
    camera.orthographic = false;
    camera.rotation = *rotation;
    const double lens = length(row(matrix, 1)) / length(row(matrix, 2));
    camera.fieldOfView =
        std::clamp(2 * std::atan(PictureHalfHeight / lens) * 180 / Pi, Camera::MinFieldOfView, Camera::MaxFieldOfView);
    const Vector3 ahead = toSceneAxes(*rotation, {0, 0, -like.distance});
    for (unsigned int axis = 0; axis < 3; ++axis)
        camera.target[axis] = inverse(axis, 3) / inverse(3, 3) + ahead[axis];
    return camera;
}

std::optional<Camera> cameraOfFile(const FileCamera& file, const SceneExtent& extent)
{
    if (!file.element)
        return std::nullopt;
    const Matrix4 place = transformToScene(file.element);
    Camera lens;
    if (file.fieldOfView > 0)
        lens.fieldOfView = std::clamp(file.fieldOfView * 180 / Pi, Camera::MinFieldOfView, Camera::MaxFieldOfView);
    auto camera = cameraOfPose(place, lens);
    if (!camera)
        return std::nullopt;
    const Vector3 position = {place(0, 3), place(1, 3), place(2, 3)};
    if (file.orthographic && file.halfHeight > 0) {
        camera->orthographic = true;
        camera->distance = file.halfHeight / tanHalf(*camera);
    } else {
        const Vector3 forward = toSceneAxes(camera->rotation, {0, 0, -1});
        const double ahead = dot(minus(extent.center, position), forward);
        camera->distance = ahead > extent.radius() / 100 ? ahead : extent.radius();
    }
    const Vector3 ahead = toSceneAxes(camera->rotation, {0, 0, -camera->distance});
    for (std::size_t axis = 0; axis < 3; ++axis)
        camera->target[axis] = position[axis] + ahead[axis];
    return camera;
}

std::optional<Ray> rayThrough(const Matrix4& scaledMatrix, double x, double y, double aspect)
{
    // The projection that panels draw with; its planes are those of the ray's two ends.
    const double zNear = SceneDrawer::ZNEAR, zFar = SceneDrawer::ZFAR;
    Matrix4 projection;
    projection(0, 0) = 1 / (PictureHalfHeight * aspect);
    projection(1, 1) = 1 / PictureHalfHeight;
    projection(2, 2) = -(zFar + zNear) / (zFar - zNear);
    projection(2, 3) = -2 * zFar * zNear / (zFar - zNear);
    projection(3, 2) = -1;
    Matrix4 back;
    if (!inverted(projection * scaledMatrix, back))
        return std::nullopt;
    const auto unproject = [&](double depth) {
        double point[4];
        for (unsigned int r = 0; r < 4; ++r)
            point[r] = back(r, 0) * x + back(r, 1) * y + back(r, 2) * depth + back(r, 3);
        return Vector3{point[0] / point[3], point[1] / point[3], point[2] / point[3]};
    };
    const Vector3 from = unproject(-1), to = unproject(1);
    const Vector3 along = minus(to, from);
    if (!(length(along) > 0))
        return std::nullopt;
    return Ray{from, normalized(along)};
}

ViewFitter::ViewFitter(const Camera& camera, double aspect)
    : m_Camera(camera), m_TanX(tanHalf(camera) * aspect / Margin), m_TanY(tanHalf(camera) / Margin)
{}

void ViewFitter::add(const Vector3& point)
{
    const Vector3 fromTarget = minus(point, m_Camera.target);
    const Vector3 p = transformed(m_Camera.rotation, fromTarget[0], fromTarget[1], fromTarget[2]);
    // With perspective each point requires a minimum distance of the camera: x - eyeX <= tanX (eyeZ - z), and so on for
    // four sides.
    const double depthX = m_Camera.orthographic ? 0 : m_TanX * p[2];
    const double depthY = m_Camera.orthographic ? 0 : m_TanY * p[2];
    m_Right = std::max(m_Right, p[0] + depthX);
    m_Left = std::max(m_Left, -p[0] + depthX);
    m_Up = std::max(m_Up, p[1] + depthY);
    m_Down = std::max(m_Down, -p[1] + depthY);
    m_Front = std::max(m_Front, p[2]);
    m_Back = std::min(m_Back, p[2]);
}

Camera ViewFitter::fitted(double minimumDistance) const
{
    if (isEmpty())
        return m_Camera;
    const double middle = (m_Front + m_Back) / 2;
    double distance = std::max((m_Right + m_Left) / (2 * m_TanX), (m_Up + m_Down) / (2 * m_TanY));
    if (!m_Camera.orthographic)
        distance = std::max(distance, m_Front + minimumDistance) - middle;
    Camera camera = m_Camera;
    camera.distance = std::max(distance, minimumDistance);
    const Vector3 by = toSceneAxes(camera.rotation, {(m_Right - m_Left) / 2, (m_Up - m_Down) / 2, middle});
    for (std::size_t axis = 0; axis < 3; ++axis)
        camera.target[axis] += by[axis];
    return camera;
}

Camera ViewFitter::movedBack(double minimumDistance) const
{
    if (isEmpty())
        return m_Camera;
    double distance = std::max(std::max(m_Right, m_Left) / m_TanX, std::max(m_Up, m_Down) / m_TanY);
    if (!m_Camera.orthographic)
        distance = std::max(distance, m_Front + minimumDistance);
    Camera camera = m_Camera;
    camera.distance = std::max(distance, camera.distance);
    return camera;
}

} // namespace tov::scene
