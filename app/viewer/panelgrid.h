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

/// One, two or four view panels parted by splitters; the active one is framed. Panels are made and closed here, always
/// in the one way that the scene library has for it. Thread: application.
class PanelGrid : public QWidget
{
    Q_OBJECT
public:
    explicit PanelGrid(QWidget* parent = nullptr);
    ~PanelGrid() override;

    /// Shows that many panels (1, 2 or 4): closes the last ones or adds new ones with the active one's view.
    void setPanelCount(int count);
    int getPanelCount() const;
    const std::vector<tov::gui::ScenePanel*>& getPanels() const { return m_Panels; }
    tov::gui::ScenePanel* getActivePanel() const;
    void setActivePanel(tov::gui::ScenePanel* panel);
    /// Closes one panel; the others take its room. With the last one none is active.
    void closePanel(tov::gui::ScenePanel* panel);
    /// Shows in every panel what a picture of this shape (width by height) holds; 0 = no guide.
    void setGuideAspect(double aspect);
    double getGuideAspect() const { return m_GuideAspect; }
    PanelFrame* getFrame(tov::gui::ScenePanel* panel) const;
    /// Closes all panels, before the window goes.
    void closeAll();

    /// Splitter sizes, for the saved layout.
    QByteArray saveState() const;
    bool restoreState(const QByteArray& state);

signals:
    void activePanelChanged(tov::gui::ScenePanel* panel);
    void panelCountChanged(int count);

private:
    void arrange();
    void mark();
    tov::gui::ScenePanel* addPanel();

    std::vector<tov::gui::ScenePanel*> m_Panels; ///< owned by their frames, closed through the viewer
    std::vector<PanelFrame*> m_Frames;           ///< children; one for each panel
    double m_GuideAspect = 0;
    QSplitter* mp_Rows = nullptr; ///< child
};

} // namespace tov::viewer
