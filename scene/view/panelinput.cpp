#include "scene/view/panelstate.h"
#include "scene/view/scenepanel.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace tov::gui {

namespace {

/// Degrees of orbit for a drag across the whole panel, and for one press of an arrow key.
constexpr double DragDegrees = 250.0;
constexpr double KeyDegrees = 5.0;
/// A press with the left button becomes a drag after this many pixels.
constexpr int ClickReach = 4;
/// Eighths of a degree that a wheel reports for one notch, and the effect of a notch.
constexpr double WheelStep = 120.0;
constexpr double WheelFactor = 1.2;
constexpr double WheelPixels = 40.0;
constexpr double WheelDegrees = 7.5;

} // namespace

void ScenePanel::mousePressEvent(QMouseEvent* event)
{
    endFlight();
    d->lastMouse = event->pos();
    d->isClick = event->button() == Qt::LeftButton;
    d->pressed = event->pos();
    emit activated();
    event->accept();
}

void ScenePanel::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && d->isClick)
        emit clicked(event->localPos(), event->modifiers());
    d->isClick = false;
    event->accept();
}

void ScenePanel::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
    d->isClick = false;
    if (event->button() == Qt::LeftButton)
        emit doubleClicked(event->localPos());
}

void ScenePanel::mouseMoveEvent(QMouseEvent* event)
{
    event->accept();
    if (d->isClick && (event->pos() - d->pressed).manhattanLength() < ClickReach)
        return;
    d->isClick = false;
    const QPoint by = event->pos() - d->lastMouse;
    d->lastMouse = event->pos();
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if ((event->buttons() & (Qt::MiddleButton | Qt::RightButton)) || ((event->buttons() & Qt::LeftButton) && shift))
        pan(by.x(), by.y());
    else if (event->buttons() & Qt::LeftButton)
        orbit(by.x() * DragDegrees / width(), by.y() * DragDegrees / height());
}

void ScenePanel::wheelEvent(QWheelEvent* event)
{
    endFlight();
    emit activated();
    event->accept();
    // A two-finger gesture on a touchpad reports both directions in small steps.
    const QPointF steps = QPointF(event->angleDelta()) / WheelStep;
    if (event->modifiers() & Qt::ShiftModifier) {
        pan(steps.x() * WheelPixels, steps.y() * WheelPixels);
        return;
    }
    if (event->modifiers() & Qt::ControlModifier) {
        orbit(steps.x() * WheelDegrees, steps.y() * WheelDegrees);
        return;
    }
    zoomAt(event->position(), std::pow(WheelFactor, steps.y()));
}

bool ScenePanel::event(QEvent* event)
{
    if (event->type() != QEvent::NativeGesture)
        return QOpenGLWidget::event(event);
    const auto* gesture = static_cast<QNativeGestureEvent*>(event);
    switch (gesture->gestureType()) {
    case Qt::ZoomNativeGesture:
        zoomAt(gesture->localPos(), 1.0 + std::max(gesture->value(), -0.9));
        break;
    case Qt::RotateNativeGesture:
        orbit(gesture->value(), 0);
        break;
    default:
        return QOpenGLWidget::event(event);
    }
    emit activated();
    event->accept();
    return true;
}

void ScenePanel::zoomAt(const QPointF& position, double factor)
{
    const double before = getCamera().distance;
    zoom(factor);
    const double share = 1.0 - before / getCamera().distance;
    const QPointF off = position - QPointF(width() / 2.0, height() / 2.0);
    pan(off.x() * share, off.y() * share);
}

void ScenePanel::keyPressEvent(QKeyEvent* event)
{
    endFlight();
    switch (event->key()) {
    case Qt::Key_Space:
        emit clicked(QPointF(width() / 2.0, height() / 2.0), event->modifiers());
        break;
    case Qt::Key_Left:
        orbit(-KeyDegrees, 0);
        break;
    case Qt::Key_Right:
        orbit(KeyDegrees, 0);
        break;
    case Qt::Key_Up:
        orbit(0, -KeyDegrees);
        break;
    case Qt::Key_Down:
        orbit(0, KeyDegrees);
        break;
    case Qt::Key_Plus:
        zoom(WheelFactor);
        break;
    case Qt::Key_Minus:
        zoom(1 / WheelFactor);
        break;
    default:
        QOpenGLWidget::keyPressEvent(event);
    }
}

void ScenePanel::focusInEvent(QFocusEvent* event)
{
    emit activated();
    QOpenGLWidget::focusInEvent(event);
}

} // namespace tov::gui
