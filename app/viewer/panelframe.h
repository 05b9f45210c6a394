#pragma once

#include "kernel/math/matrix.h"
#include "scene/view/camera.h"

#include <QFrame>

#include <functional>

class QMenu;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class Gizmo;

/// The frame of a view: the mark of the active one, a guide that shows what a picture or video of another shape will
/// contain, the axes in a corner, and the view's own menu. A fitted view stays fitted when its size changes. Thread:
/// application.
class PanelFrame : public QFrame
{
    Q_OBJECT
public:
    explicit PanelFrame(QWidget* parent = nullptr);

    tov::gui::ScenePanel* getPanel() const { return mp_Panel; }
    /// Draws the frame in the highlight colour, or not.
    void setMarked(bool marked);
    bool isMarked() const { return m_Marked; }
    /// Whether the menu offers to close the view.
    void setClosable(bool closable) { m_Closable = closable; }
    /// Width / height of the shape to show; 0 = no guide. A picture has the view's height and field of view, so a wider
    /// shape shows everything and more: the guide then shows a note.
    void setGuideAspect(double aspect);
    /// The rectangle of the guide, in the view's coordinates; null if no guide is shown or it does not fit.
    QRect getGuide() const;
    Gizmo* getGizmo() const { return mp_Gizmo; }
    /// Flies to the view from a side. A fitted view is fitted again; otherwise what is in the middle stays there.
    void showSide(tov::scene::StandardView side);
    /// Adds the part actions of the window to the menu of the view: `fill` adds them to a menu that is about to open at
    /// a position of the view.
    void setPartMenu(std::function<void(QMenu*, const QPointF&)> fill) { m_PartMenu = std::move(fill); }

signals:
    void closeRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Guide;
    void createGizmo();
    void showMenu(const QPoint& position);
    bool isFitted() const;
    void refit();

    tov::gui::ScenePanel* mp_Panel; ///< child; closed through the viewer
    Guide* mp_Guide;                ///< child of the panel
    Gizmo* mp_Gizmo;                ///< child of the panel
    std::function<void(QMenu*, const QPointF&)> m_PartMenu;
    QPoint m_Pressed;
    bool m_Marked = false;
    bool m_Closable = false;
    bool m_RefitPosted = false;
    tov::math::Matrix<double, 4u, 4u> m_FittedView; ///< the camera after the last fit
};

} // namespace tov::viewer
