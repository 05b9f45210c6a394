#pragma once

#include "kernel/main/export.h"

#include <memory>

namespace tov::main {

/// A piece of work for the application thread; see `Overseer::transmitWorker`. Reference-counted: the Overseer holds
/// one reference until the work has run or was dropped, a waiter one more, so neither frees it under the other.
class TOV_EXPORT Worker
{
public:
    /// `creatorKeepsOwnership`: true when the creator deletes the worker itself (not before `isFinished`); false when
    /// the Overseer takes it over.
    explicit Worker(bool creatorKeepsOwnership);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    virtual ~Worker();

    /// Says, before the worker is transmitted, that the transmitting thread will call `wait` exactly once.
    /// Thread: the transmitting one.
    void setWait(bool wait);

    /// Blocks until the work has run or was dropped at shutdown, then gives up the waiter's reference: the worker may
    /// be gone afterwards. On the application thread it runs queued workers meanwhile. Needs `setWait(true)`; returns
    /// true when the work ran to its end, false when it threw or was dropped. Thread: the transmitting one.
    bool wait();

    /// True once the work has run or was dropped. Thread: any that holds a reference.
    bool isFinished() const;

protected:
    /// The work itself. Exceptions are caught and logged by the Overseer. Thread: application.
    virtual void run() = 0;

private:
    friend class Overseer;
    struct State;
    std::unique_ptr<State> mp_State;
};

} // namespace tov::main
