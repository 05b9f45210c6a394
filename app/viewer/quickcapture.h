#pragma once

#include "app/viewer/saferuns.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>

class QAction;
class QLabel;
class QToolBar;

namespace tov::app {
class SpaceWatch;
}

namespace tov::viewer {

class RecordedViews;

/// Pictures and recordings of the active view with one key and no dialog: Snapshot (F12), and Record (R), which starts
/// a free recording and stops it again. While a recording runs, the tool bar shows a red dot and its figures.
/// Thread: application.
class QuickCapture : public QObject
{
    Q_OBJECT
public:
    /// `modelName` returns the name that replaces `{model}` in file names. The others must outlive this object.
    QuickCapture(SafeRuns* outputs, RecordedViews* recorded, tov::app::SpaceWatch* space,
                 std::function<QString()> modelName, QObject* parent = nullptr);

    /// Adds the two actions and the figures to a tool bar.
    void addTo(QToolBar* bar);
    QAction* getRecordAction() const { return mp_Record; }
    QAction* getSnapshotAction() const { return mp_Snapshot; }

    void takeSnapshot();
    /// Starts a recording of the active view, or stops the one that runs.
    void toggleRecording();

signals:
    /// One line for the user.
    void failed(const QString& message);

private:
    SafeRuns::Target freeFile(const QString& ending) const;
    void startRecording();
    void runFinished(const tov::main::CommandRunPointer& run);
    void showFigures();
    void updateAvailability();

    SafeRuns* mp_Outputs;           ///< not owned
    RecordedViews* mp_Recorded;     ///< not owned
    tov::app::SpaceWatch* mp_Space; ///< not owned
    std::function<QString()> m_ModelName;
    QAction* mp_Record;                  ///< child
    QAction* mp_Snapshot;                ///< child
    QLabel* mp_Figures = nullptr;        ///< child of the tool bar
    QAction* mp_FiguresPlace = nullptr;  ///< shows and hides the figures
    tov::main::CommandRunPointer mp_Run; ///< the recording shown, or null
    QElapsedTimer m_Elapsed;
    qint64 m_TakenBefore = 0; ///< frames encoded before the recording began
    QTimer m_Refresh;
};

} // namespace tov::viewer
