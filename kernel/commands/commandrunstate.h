#pragma once

#include "kernel/commands/command.h"

#include <QDateTime>
#include <QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>

namespace tov::main {

class WorkerQueue;

/// The state that the processor, the command thread and the observers of a run share. Fields without a note do not
/// change once the run is visible to others.
struct CommandRunState
{
    WorkerQueue* workers = nullptr; ///< the Overseer's
    quint64 id = 0;
    QString name;
    std::map<QString, QString> arguments; ///< by lower-case parameter name
    qint64 startTime = QDateTime::currentMSecsSinceEpoch();
    const Command* prototype = nullptr; ///< the prototype of the command; compared, never used
    bool deleteAfter = false;
    std::mutex startMutex;     ///< held while the thread is started, so that it is not deleted meanwhile
    QThread* thread = nullptr; ///< guarded by startMutex
    std::atomic<pid_t> threadId{0};

    mutable std::mutex mutex;
    std::condition_variable changed;
    Command* command = nullptr; ///< guarded by mutex; null once the run is over
    QString text;               ///< guarded by mutex; the last one when the run is over
    int processed = -1;         ///< guarded by mutex; likewise
    bool executing = true;      ///< guarded by mutex
    /// Guarded by mutex; when `stop` was called.
    std::optional<std::chrono::steady_clock::time_point> stopMoment;
    bool finished = false;  ///< guarded by mutex
    bool succeeded = false; ///< guarded by mutex
};

} // namespace tov::main
