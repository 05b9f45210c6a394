#pragma once

#include "scene/view/camera.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <map>
#include <vector>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// Undo and redo of camera movements, for each view. A movement ends when the view has been still for a moment, so that
/// a drag is one step. Thread: application.
class CameraHistory : public QObject
{
    Q_OBJECT
public:
    explicit CameraHistory(QObject* parent = nullptr);

    /// Follows a view from now on, until it is destroyed.
    void watch(tov::gui::ScenePanel* view);
    bool canUndo(const tov::gui::ScenePanel* view) const;
    /// Whether a movement has not ended yet.
    bool isMoving(const tov::gui::ScenePanel* view) const;
    bool canRedo(const tov::gui::ScenePanel* view) const;
    void undo(tov::gui::ScenePanel* view);
    void redo(tov::gui::ScenePanel* view);
    /// How long a view must be still before a movement counts as ended, in milliseconds (initially 400).
    void setPause(int milliseconds) { m_PauseMs = milliseconds; }

private:
    struct History
    {
        std::vector<tov::scene::Camera> states; ///< oldest first; never empty
        std::size_t current = 0;
        QTimer* pause = nullptr; ///< child of this object
    };
    void settle(tov::gui::ScenePanel* view);
    void go(tov::gui::ScenePanel* view, int step);

    std::map<const tov::gui::ScenePanel*, History> m_Histories;
    int m_PauseMs = 400;
    bool m_Restoring = false;
};

} // namespace tov::viewer
