#pragma once

#include <QObject>

#include <functional>

class QAction;
class QMainWindow;
class QMenu;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class ClipControls;
class EditQueue;
class InspectPanel;
class PanelGrid;
class PathEditor;
class SceneTree;
class TrajectoryBar;
class ViewLinks;
class ViewMarks;

/// What the user does in the views besides moving the camera: selecting parts, measuring, linking cameras, and editing
/// a camera path. Thread: application.
class ViewTools : public QObject
{
    Q_OBJECT
public:
    /// The objects that the tools act on. They must outlive the tools.
    struct Parts
    {
        QMainWindow* window;
        PanelGrid* grid;
        SceneTree* tree;
        InspectPanel* inspect;
        TrajectoryBar* trajectory;
        EditQueue* edits;
    };
    /// Views that are created from now on have the tools.
    explicit ViewTools(const Parts& parts);
    ~ViewTools() override;

    /// Adds what changes the display of the views to the View menu.
    void addToView(QMenu* menu);
    /// Fills the Tools menu.
    void addToTools(QMenu* menu);
    PathEditor* getPathEditor() const { return mp_Path; }
    ViewMarks* getMarks() const { return mp_Marks; }

signals:
    void failed(const QString& message);

private:
    void createActions();
    void createPathEditor();
    QAction* addSwitch(QMenu* menu, const QString& text, const char* name, bool isOn,
                       const std::function<void(bool)>& change);
    void watchScene();
    void watch(tov::gui::ScenePanel* view);
    void click(tov::gui::ScenePanel* view, const QPointF& position, Qt::KeyboardModifiers modifiers);
    void fillPartMenu(tov::gui::ScenePanel* view, QMenu* menu, const QPointF& position);
    void setMeasuring(bool measuring);

    const Parts m_Parts;
    ViewMarks* mp_Marks; ///< child, as the following
    ViewLinks* mp_Links;
    ClipControls* mp_Clip = nullptr;
    PathEditor* mp_Path = nullptr;
    QAction* mp_Measure = nullptr;
    QAction* mp_EndMeasuring = nullptr;
    QAction* mp_Box = nullptr;
    QAction* mp_FitSelection = nullptr;
    QAction* mp_AddPathView = nullptr;
};

} // namespace tov::viewer
