#pragma once

#include "kernel/gui/zprogressdialog.h"
#include "kernel/commands/commandprocessor.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <map>

class QVBoxLayout;

namespace tov::viewer {

class SafeRuns;

/// Shows the runs: a row for each with its file, progress, time left and a Stop button; hidden while nothing runs. Runs
/// shorter than a fifth of a second are not shown. Progress dialogs that commands open are shown in their rows. Thread:
/// application.
class RunsBar : public QWidget
{
    Q_OBJECT
public:
    /// `outputs` knows the files of the runs; it must outlive the bar.
    explicit RunsBar(const SafeRuns* outputs, QWidget* parent = nullptr);
    ~RunsBar() override;

    /// Adds a row for work that is not a command, e.g. opening files. Returns its number.
    quint64 addTask(const QString& text, std::function<void()> stop);
    /// `percent` -1 = busy.
    void updateTask(quint64 task, const QString& text, int percent);
    void removeTask(quint64 task);
    /// A short remark next to a run's time.
    void setHint(quint64 run, const QString& hint);
    /// All rows, including those that are not visible yet.
    int getRowCount() const;

signals:
    /// A run was asked to stop and has not ended for ten seconds.
    void stopIgnored(const QString& text);

private:
    struct Row;
    QString describe(const tov::main::CommandRun& run) const;
    Row* addRow(const QString& text, std::function<void()> stop);
    void updateRow(Row& row, const QString& text, int percent);
    void updateVisibility();
    void present(const tov::util::ZProgressDialog::Update& update);

    const SafeRuns* mp_Outputs;                         ///< not owned
    std::map<quint64, std::unique_ptr<Row>> m_Rows;     ///< by run
    std::map<quint64, std::unique_ptr<Row>> m_TaskRows; ///< by task
    quint64 m_NextTask = 1;
    QVBoxLayout* mp_Layout; ///< child
    QTimer m_Clock;         ///< refreshes the time left
};

/// "3 s", "2 min 5 s", "1 h 4 min".
QString durationText(qint64 seconds);

} // namespace tov::viewer
