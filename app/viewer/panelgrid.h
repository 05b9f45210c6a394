#pragma once

#include <QPointer>
#include <QWidget>

#include <vector>

class QSplitter;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class PanelFrame;

/// One, two or four views separated by splitters; the active one is framed. Views are created and closed only here.
/// Thread: application.
class PanelGrid : public QWidget
{
    Q_OBJECT
public:
    explicit PanelGrid(QWidget* parent = nullptr);
    ~PanelGrid() override;

    /// Shows that many views (1, 2 or 4): closes the last ones, or adds views from the front, the top and the right.
    void setPanelCount(int count);
    int getPanelCount() const;
    const std::vector<tov::gui::ScenePanel*>& getPanels() const { return m_Panels; }
    tov::gui::ScenePanel* getActivePanel() const;
    void setActivePanel(tov::gui::ScenePanel* panel);
    /// The views that `setPanelCount` would close.
    std::vector<tov::gui::ScenePanel*> getPanelsToClose(int count) const;
    /// Closes one view; the others fill its space. After the last one, no view is active.
    void closePanel(tov::gui::ScenePanel* panel);
    /// Shows in every view what a picture of this shape (width / height) contains; 0 = no guide.
    void setGuideAspect(double aspect);
    double getGuideAspect() const { return m_GuideAspect; }
    /// Shows or hides the axes in the corner of every view (initially shown).
    void setGizmosShown(bool shown);
    bool areGizmosShown() const { return m_GizmosShown; }
    PanelFrame* getFrame(tov::gui::ScenePanel* panel) const;
    /// Closes all views, before the window is destroyed.
    void closeAll();

    /// Splitter sizes and cameras, for the saved layout.
    QByteArray saveState() const;
    bool restoreState(const QByteArray& state);

signals:
    void activePanelChanged(tov::gui::ScenePanel* panel);
    void panelCountChanged(int count);
    /// A view was created; it has no place in the window yet.
    void panelAdded(tov::gui::ScenePanel* panel);
    /// The user wants to close this view.
    void closeRequested(tov::gui::ScenePanel* panel);

private:
    void arrange();
    void mark();
    tov::gui::ScenePanel* addPanel();
    /// Turns a new view to a side that the first view does not show.
    void chooseView(tov::gui::ScenePanel* panel, std::size_t index) const;

    std::vector<tov::gui::ScenePanel*> m_Panels; ///< owned by their frames, closed through the viewer
    std::vector<PanelFrame*> m_Frames;           ///< children; one for each panel
    double m_GuideAspect = 0;
    bool m_GizmosShown = true;
    QSplitter* mp_Rows = nullptr; ///< child
};

} // namespace tov::viewer
