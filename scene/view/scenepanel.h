#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <QOpenGLWidget>

#include <memory>

namespace tov::gui {

/// A view of the global scene with an orbit camera. Works hidden too, with the size it was given. Thread: application,
/// unless a method says otherwise.
class TOV_EXPORT ScenePanel final : public QOpenGLWidget
{
    Q_OBJECT
public:
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

    explicit ScenePanel(QWidget* parent = nullptr);
    /// Emits `destroyed` itself, while the panel is whole, exactly once. Use `Viewer::closePanel`.
    ~ScenePanel() override;

    /// Scene to eye in OpenGL's eye axes (x right, y up, looking along -z), the scene's global scaling in it. By value.
    /// Thread: any.
    tov::math::Matrix<double, 4u, 4u> getScaledTransformMatrix() const;
    /// Makes `getScaledTransformMatrix` return exactly this until the camera is moved.
    void setScaledTransformMatrix(const tov::math::Matrix<double, 4u, 4u>& transform);

    /// Size in device-independent pixels, at least 1. Thread: any.
    int width() const;
    int height() const;
    QSize size() const { return QSize(width(), height()); }
    /// As `QWidget::resize`; a hidden panel has the new size at once, too.
    void resize(int width, int height);
    void resize(const QSize& size) { resize(size.width(), size.height()); }

    /// Turns the camera to a standard view and fits the scene into it.
    void setStandardView(StandardView view);
    /// Moves the camera so that everything visible fills the panel.
    void fitToView();
    /// The same for a camera that will turn about the scene's upright axis: whatever the angle, everything is in view.
    void fitToTurn();
    /// Orbits about the target, degrees to the right and up.
    void orbit(double azimuth, double elevation);
    /// Moves the view by that many pixels.
    void pan(double dx, double dy);
    /// Moves towards the target; factor above 1 = closer.
    void zoom(double factor);

    /// Whether the trajectory's camera moves this panel (default: yes).
    bool followsTrajectory() const;
    void setFollowsTrajectory(bool follows);
    /// Camera pose from a trajectory: a matrix eye to scene. Ignored unless the panel follows. Thread: any.
    void setTrajectoryCamera(const tov::math::Matrix<double, 4u, 4u>& eyeToScene);

signals:
    /// The camera moved.
    void viewChanged();
    /// Somebody clicked or turned this panel.
    void activated();

protected:
    bool event(QEvent* event) override;
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void applyCamera();
    /// Zooms so that what is under the position stays there.
    void zoomAt(const QPointF& position, double factor);
    void fit(int turnSteps);
    void takeCameraFromMatrix();
    void noteSize();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::gui
