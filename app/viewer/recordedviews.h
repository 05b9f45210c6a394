#pragma once

#include "kernel/commands/commandprocessor.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <map>

class QWidget;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class SafeRuns;

/// Tracks which views are being recorded, and asks the user before such a view is closed: the recording is then
/// stopped, what it captured is kept, and the view closes when the file is complete. Thread: application.
class RecordedViews : public QObject
{
    Q_OBJECT
public:
    /// `window` is the parent of the question; `outputs` knows the files of the runs. Both must outlive this object.
    RecordedViews(const SafeRuns* outputs, QWidget* window);

    /// Whether a run records this view.
    bool isRecorded(const tov::gui::ScenePanel* view) const;
    /// The run that records this view, or null.
    tov::main::CommandRunPointer findRun(const tov::gui::ScenePanel* view) const;

    /// Calls `close` at once when none of `views` is recorded. Otherwise asks; when the user agrees, stops the
    /// recordings and calls `close` when all of them have ended.
    void closeAfterRecording(const std::vector<tov::gui::ScenePanel*>& views, std::function<void()> close);

private:
    struct Recording
    {
        tov::main::CommandRunPointer run;
        QPointer<tov::gui::ScenePanel> view;
    };
    struct Closing
    {
        std::vector<quint64> waitingFor;
        std::function<void()> close;
    };
    void forget(const tov::main::CommandRunPointer& run);
    bool agreesToStop(const std::vector<Recording>& recordings);

    const SafeRuns* mp_Outputs;                ///< not owned
    QWidget* mp_Window;                        ///< not owned
    std::map<quint64, Recording> m_Recordings; ///< by run
    std::vector<Closing> m_Closings;
};

} // namespace tov::viewer
