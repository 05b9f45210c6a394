#pragma once

#include "scene/view/camera.h"

#include <QWidget>

#include <array>
#include <optional>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// The axes of the scene in a corner of a view, turned as the view is. A click on an end asks for the view from that
/// side, a drag turns the view. It lies above the view, so pictures and videos never contain it. Thread: application.
class Gizmo : public QWidget
{
    Q_OBJECT
public:
    /// The gizmo is a child of `panel` and places itself.
    explicit Gizmo(tov::gui::ScenePanel* panel);

    /// Shows the gizmo, if the view is large enough for it.
    void setWanted(bool wanted);
    bool isWanted() const { return m_Wanted; }
    /// Moves into the corner again after the size of the view has changed.
    void place();

    /// The view from the end of an axis.
    struct End
    {
        tov::scene::StandardView side;
        std::size_t axis;
        bool isPositive;
        QPointF position; ///< in the widget
        double depth;     ///< towards the viewer, from -1 to 1
    };
    /// The ends as they are drawn, the nearest last.
    std::array<End, 6> getEnds() const;

signals:
    void sideChosen(tov::scene::StandardView side);
    /// A drag has turned the view by degrees to the right and down.
    void turned(double right, double down);
    void pressed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    std::optional<End> endAt(const QPointF& position) const;
    void choose(const QPointF& position);
    void follow();

    tov::gui::ScenePanel* mp_Panel; ///< parent
    tov::math::Matrix4 m_Rotation = tov::math::Matrix4::identity();
    bool m_Wanted = true;
    bool m_IsDragged = false;
    QPoint m_Pressed;
    QPoint m_Last;
};

} // namespace tov::viewer
