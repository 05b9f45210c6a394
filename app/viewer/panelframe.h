#pragma once

#include <QFrame>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// What surrounds a view panel: the mark of the active one, a guide that shows what a picture or video of another shape
/// will hold, and the panel's own menu. Thread: application.
class PanelFrame : public QFrame
{
    Q_OBJECT
public:
    explicit PanelFrame(QWidget* parent = nullptr);

    tov::gui::ScenePanel* getPanel() const { return mp_Panel; }
    /// Draws the frame in the highlight colour, or not.
    void setMarked(bool marked);
    bool isMarked() const { return m_Marked; }
    /// Width by height of the shape to show; 0 = no guide. Height and field of view are the panel's, so that a wider
    /// shape than the panel shows everything and more: the guide then says so.
    void setGuideAspect(double aspect);
    /// What the guide encloses, in the panel's coordinates; null when there is none or it does not fit in.
    QRect getGuide() const;

signals:
    void closeRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Guide;
    void showMenu(const QPoint& position);

    tov::gui::ScenePanel* mp_Panel; ///< child; closed through the viewer
    Guide* mp_Guide;                ///< child of the panel
    QPoint m_Pressed;
    bool m_Marked = false;
};

} // namespace tov::viewer
