#pragma once

#include "kernel/main/event.h"
#include "kernel/main/export.h"

#include <boost/function.hpp>

#include <memory>

namespace tov::main {

class Command;

/// Delivers events. Functions are called immediately on the firing thread, without a lock held. Thread: any.
class TOV_EXPORT EventManager
{
public:
    typedef boost::function<void(const Event*)> EventFunction;

    /// The manager of the process; never null.
    static EventManager* getInstance();

    /// Calls `function` for every event of `type` (from `sender` only, unless null) until the owner's functions are
    /// unregistered. The owner is a key, never called.
    void registerEventFunction(EventType type, const EventFunction& function, Command* owner, void* sender = nullptr);
    /// The same for owners that are not commands.
    void registerEventFunction(EventType type, const EventFunction& function, const void* owner,
                               void* sender = nullptr);
    /// Removes all functions of that owner and waits for calls on other threads. When this returns, none of the
    /// functions is running or will be called, and all copies of them are destroyed, except those that are being called
    /// further up the calling thread's own stack.
    void unregisterAllEventFunctionsOf(Command* owner);
    /// The same for owners that are not commands.
    void unregisterAllEventFunctionsOf(const void* owner);

    /// Calls the functions registered for the event's type, in order of registration. Exceptions of a function are
    /// caught and logged.
    void fireEvent(const Event& event);
    /// The same for a pointer, which must not be null.
    void fireEvent(const Event* event);

private:
    EventManager();
    ~EventManager();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::main
