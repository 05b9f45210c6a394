#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"
#include "scene/view/camera.h"
#include "scene/view/capturetimes.h"
#include "scene/view/picking.h"

#include <QLineF>
#include <QOpenGLWidget>

#include <functional>
#include <memory>
#include <optional>

namespace tov::gui {

struct PanelState;

/// A view of the global scene through a `Camera`. Also works while hidden, with the size that was set. Thread:
/// application, unless a method says otherwise.
class TOV_EXPORT ScenePanel final : public QOpenGLWidget
{
    Q_OBJECT
public:
    using StandardView = tov::scene::StandardView;

    explicit ScenePanel(QWidget* parent = nullptr);
    /// Emits `destroyed` itself, while the panel is complete, exactly once. Use `Viewer::closePanel`.
    ~ScenePanel() override;

    /// Scene to eye in OpenGL's eye axes (x right, y up, looking along -z), with the lens and the scene's global
    /// scaling in it; see `Camera::scaledMatrix`. By value. Thread: any.
    tov::math::Matrix<double, 4u, 4u> getScaledTransformMatrix() const;
    /// Half the height, at distance 1, of the projection that `getScaledTransformMatrix` is used with (initially
    /// `PictureHalfHeight`). The matrix then has a factor on x and y of the eye, so that the view is the same under
    /// each projection.
    void setProjectionHalfHeight(double halfHeight);
    /// When threads other than the application thread called `getScaledTransformMatrix`: a recording does so once per
    /// frame, when it captures the frame. Valid longer than the panel. Thread: any.
    std::shared_ptr<tov::scene::CaptureTimes> getCaptureTimes() const;
    /// Makes `getScaledTransformMatrix` return exactly this until the camera is moved.
    void setScaledTransformMatrix(const tov::math::Matrix<double, 4u, 4u>& transform);

    /// Size in device-independent pixels, at least 1. Thread: any.
    int width() const;
    /// Height in device-independent pixels, at least 1. Thread: any.
    int height() const;
    /// Width and height. Thread: any.
    QSize size() const { return QSize(width(), height()); }
    /// As `QWidget::resize`; a hidden panel has the new size immediately, too.
    void resize(int width, int height);
    /// The same for a size.
    void resize(const QSize& size) { resize(size.width(), size.height()); }

    /// The camera, in scene units. When a matrix was set, the camera closest to that view. Thread: any.
    tov::scene::Camera getCamera() const;
    /// Values out of range are clamped.
    void setCamera(const tov::scene::Camera& camera);

    /// Turns the camera to a standard view, then by degrees to the right, up and counter-clockwise from there, and fits
    /// the scene into it.
    void setStandardView(StandardView view, double azimuth = 0, double elevation = 0, double roll = 0);
    /// Moves the camera, lens unchanged. False when the points coincide or a value is not finite.
    bool lookAt(const tov::scene::Vector3& position, const tov::scene::Vector3& target, const tov::scene::Vector3& up);
    /// Takes view and lens of a camera of a file. False if its transform is not a view.
    bool setFileCamera(const tov::scene::FileCamera& camera);
    /// The vertical field of view in degrees, from `Camera::MinFieldOfView` to `Camera::MaxFieldOfView`. The camera
    /// moves so that the plane of the target keeps its size.
    void setFieldOfView(double degrees);
    /// The vertical field of view in degrees. Thread: any.
    double getFieldOfView() const { return getCamera().fieldOfView; }
    /// Parallel instead of perspective projection; the plane of the target keeps its size.
    void setOrthographic(bool orthographic);
    /// True for parallel projection. Thread: any.
    bool isOrthographic() const { return getCamera().orthographic; }

    /// Moves the camera so that everything visible fills the panel, or the guide frame.
    void fitToView();
    /// Moves the camera so that the selected parts that are visible fill the panel. Without any, nothing moves.
    void fitToSelection();
    /// `fitToView` for a camera that will turn about the scene's upright axis: everything is in view at every angle.
    void fitToTurn();
    /// Orbits about the target, degrees that the scene turns to the right and down.
    void orbit(double azimuth, double elevation);
    /// Rolls the picture counter-clockwise, degrees.
    void roll(double degrees);
    /// Moves the view by that many pixels.
    void pan(double dx, double dy);
    /// Moves towards the target; a factor above 1 moves closer.
    void zoom(double factor);

    /// Calls `move`, which changes the camera, and draws the way to the new view as a short flight. The camera itself
    /// is at its destination at once: pictures, recordings and further movements start from there. The flight ends
    /// early when the camera is moved or the panel gets input. There is none while the panel is hidden or being
    /// recorded.
    void fly(const std::function<void()>& move);
    /// How long a flight takes, in milliseconds (initially 0: the view changes at once).
    void setFlightDuration(int ms);
    /// True from the start of `fly` until the view has arrived.
    bool isFlying() const;
    /// The camera that is drawn: during a flight one on the way, otherwise `getCamera`.
    tov::scene::Camera getShownCamera() const;

    /// The ray in the scene through a position of the panel, in device-independent pixels. No value if the matrix that
    /// was set is singular.
    std::optional<tov::scene::Ray> rayAt(const QPointF& position) const;
    /// What is drawn at a position of the panel, in device-independent pixels; none where the background is.
    std::optional<tov::scene::Picked> pickAt(const QPointF& position) const;
    /// Makes the surface point at a position the centre of rotation and flies it to the middle of the panel. False
    /// where the background is.
    bool centerAt(const QPointF& position);
    /// Where the line between two points of the scene is drawn, in device-independent pixels. A line that passes the
    /// eye is cut off; none when all of it is behind the eye.
    std::optional<QLineF> lineAt(const tov::scene::Vector3& from, const tov::scene::Vector3& to) const;

    /// Shows what a picture or video of another aspect (width divided by height) contains: the panel outside of it is
    /// dimmed, and fitting stays inside. 0: no guide frame.
    void setGuideAspect(double aspect);
    /// The aspect of the guide frame; 0: no guide frame.
    double getGuideAspect() const;
    /// The rectangle of the guide frame in device-independent pixels; the whole panel without a guide, or if the
    /// picture is wider than the panel.
    QRectF getGuideFrame() const;

    /// While the camera moves, scenes of many triangles are sketched with points if a complete frame takes longer than
    /// this (default: 80 ms). The complete frame follows a quarter of a second after the last move.
    void setSketchAfter(int ms);

    /// Whether the trajectory's camera moves this panel (default: yes).
    bool followsTrajectory() const;
    /// Sets whether the trajectory's camera moves this panel.
    void setFollowsTrajectory(bool follows);
    /// Camera pose from a trajectory: a matrix eye to scene; the lens stays. Ignored unless the panel follows.
    /// Thread: any.
    void setTrajectoryCamera(const tov::math::Matrix<double, 4u, 4u>& eyeToScene);
    /// Camera with its lens from a trajectory. Ignored unless the panel follows. Thread: any.
    void setTrajectoryCamera(const tov::scene::Camera& camera);
    /// Adapts the matrix to the scene's current global scaling. Thread: any.
    void updateScaling();

signals:
    /// The camera was moved, by the user or the program, but not by a trajectory.
    void viewChanged();
    /// `fitToView` or a standard view has fitted the scene into the panel.
    void fitted();
    /// The user clicked or turned this panel.
    void activated();
    /// The left button was pressed and released at one place (device-independent pixels), or the space bar was pressed:
    /// then the position is the middle.
    void clicked(const QPointF& position, Qt::KeyboardModifiers modifiers);
    /// The second press of a double click with the left button.
    void doubleClicked(const QPointF& position);
    /// A frame was drawn.
    void drawn();

protected:
    bool event(QEvent* event) override;
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    /// Zooms so that the point under the position stays there.
    void zoomAt(const QPointF& position, double factor);
    void fit(bool turning);
    void endFlight();
    void updateSize();
    void noteMove();
    void drawScene();
    void drawGuideFrame();
    std::unique_ptr<PanelState> d;
};

} // namespace tov::gui
