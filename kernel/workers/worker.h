#pragma once

#include "kernel/main/export.h"

#include <memory>

namespace tov::main {

struct WorkerState;

/// A piece of work for the application thread; see `Overseer::transmitWorker`. Reference-counted: the Overseer holds
/// one reference until the work has run or was dropped, and a waiter holds another one, so neither frees it too early.
class TOV_EXPORT Worker
{
public:
    /// `creatorKeepsOwnership`: true when the creator deletes the worker itself (not before `isFinished`); false when
    /// the Overseer takes it over.
    explicit Worker(bool creatorKeepsOwnership);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    virtual ~Worker();

    /// Announces that the transmitting thread will call `wait` exactly once. Call it before the worker is transmitted.
    /// Thread: the transmitting one.
    void setWait(bool wait);

    /// Blocks until the work has run or was dropped at shutdown, then gives up the waiter's reference: the worker may
    /// be deleted afterwards. A worker that was transmitted on the application thread has already run. Needs
    /// `setWait(true)`. True when the work was completed, false when it threw or was dropped. Thread: the transmitting
    /// one.
    bool wait();

    /// True once the work has run or was dropped. Thread: any that holds a reference.
    bool isFinished() const;

protected:
    /// The work itself. Exceptions are caught and logged by the Overseer. Thread: application.
    virtual void run() = 0;

private:
    friend class WorkerQueue;
    std::unique_ptr<WorkerState> mp_State;
};

} // namespace tov::main
