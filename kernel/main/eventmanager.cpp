#include "kernel/main/eventmanager.h"

#include "kernel/log/logger.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

namespace tov::main {

namespace {

/// One registered function. Shared with the threads that are calling it.
struct Entry
{
    EventType type;
    EventManager::EventFunction function; ///< changed under the manager's mutex, while no thread calls it
    const void* owner;
    void* sender;
    bool dead = false;                    ///< guarded by the manager's mutex
    std::vector<std::thread::id> callers; ///< guarded by the manager's mutex
};

} // namespace

struct EventManager::Private
{
    std::mutex mutex;
    std::condition_variable called;
    std::list<std::shared_ptr<Entry>> entries; ///< guarded by mutex

    /// Claims the entry for a call on this thread; false when it was unregistered.
    bool beginCall(Entry& entry)
    {
        std::lock_guard<std::mutex> guard(mutex);
        if (entry.dead)
            return false;
        entry.callers.push_back(std::this_thread::get_id());
        return true;
    }

    void endCall(Entry& entry)
    {
        EventManager::EventFunction released;
        std::lock_guard<std::mutex> guard(mutex);
        entry.callers.erase(std::find(entry.callers.begin(), entry.callers.end(), std::this_thread::get_id()));
        // The function unregistered itself, so it is freed here. `released` is destroyed after the lock.
        if (entry.dead && entry.callers.empty())
            released.swap(entry.function);
        called.notify_all();
    }
};

EventManager* EventManager::getInstance()
{
    static EventManager* instance = new EventManager;
    return instance;
}

EventManager::EventManager() : d(new Private) {}
EventManager::~EventManager() = default;

void EventManager::registerEventFunction(EventType type, const EventFunction& function, Command* owner, void* sender)
{
    registerEventFunction(type, function, static_cast<const void*>(owner), sender);
}

void EventManager::registerEventFunction(EventType type, const EventFunction& function, const void* owner, void* sender)
{
    auto entry = std::make_shared<Entry>();
    entry->type = type;
    entry->function = function;
    entry->owner = owner;
    entry->sender = sender;
    std::lock_guard<std::mutex> guard(d->mutex);
    d->entries.push_back(std::move(entry));
}

void EventManager::unregisterAllEventFunctionsOf(Command* owner)
{
    unregisterAllEventFunctionsOf(static_cast<const void*>(owner));
}

void EventManager::unregisterAllEventFunctionsOf(const void* owner)
{
    std::vector<std::shared_ptr<Entry>> removed;
    std::vector<EventFunction> released; // freed at the end, without the lock
    std::unique_lock<std::mutex> lock(d->mutex);
    for (auto it = d->entries.begin(); it != d->entries.end();) {
        if ((*it)->owner == owner) {
            (*it)->dead = true;
            removed.push_back(*it);
            it = d->entries.erase(it);
        } else {
            ++it;
        }
    }
    // Calls on other threads must end first. A call further up this thread's own stack cannot be waited for.
    const auto self = std::this_thread::get_id();
    for (const auto& entry : removed)
        d->called.wait(lock, [&] {
            return std::all_of(entry->callers.begin(), entry->callers.end(),
                               [self](std::thread::id id) { return id == self; });
        });
    // Threads that are firing may hold the entries longer, but the functions must be destroyed now: they may belong to
    // a library that is unloaded next.
    for (const auto& entry : removed)
        if (entry->callers.empty()) {
            released.emplace_back();
            released.back().swap(entry->function);
        }
    lock.unlock();
}

void EventManager::fireEvent(const Event& event)
{
    fireEvent(&event);
}

void EventManager::fireEvent(const Event* event)
{
    std::vector<std::shared_ptr<Entry>> matching;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        for (const auto& entry : d->entries)
            if (entry->type == event->getType() && (!entry->sender || entry->sender == event->getSender()))
                matching.push_back(entry);
    }
    for (const auto& entry : matching) {
        if (!d->beginCall(*entry))
            continue;
        try {
            entry->function(event);
        } catch (const std::exception& e) {
            tov::log::Logger::log(
                tov::log::LevelError, "main/eventmanager", __LINE__, __func__, nullptr,
                "A function for the event %s failed: %s",
                tov::events::EventHandler::getInstance()->getEventName(event->getType()).toLocal8Bit().constData(),
                e.what());
        } catch (...) {
            tov::log::Logger::log(tov::log::LevelError, "main/eventmanager", __LINE__, __func__, nullptr,
                                  "A function for an event failed");
        }
        d->endCall(*entry);
    }
}

} // namespace tov::main
