#include "kernel/events/eventhandler.h"

#include <map>
#include <mutex>
#include <string>

namespace tov::events {

struct EventHandler::Private
{
    mutable std::mutex mutex;
    std::map<std::pair<std::string, std::string>, EventType> types; ///< guarded by mutex
    std::map<std::string, int> uses;                                ///< guarded by mutex
    bool recording = false;                                         ///< guarded by mutex
    std::vector<EventDeclaration> declarations;                     ///< guarded by mutex
};

EventHandler* EventHandler::getInstance()
{
    // Never destroyed: libraries unregister their categories while the process exits.
    static EventHandler* instance = new EventHandler;
    return instance;
}

EventHandler::EventHandler() : d(new Private) {}
EventHandler::~EventHandler() = default;

EventType EventHandler::addEvent(const char* category, const char* name)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const auto entry =
        d->types.emplace(std::make_pair(std::string(category), std::string(name)), EventType(d->types.size() + 1));
    const EventType type = entry.first->second;
    if (d->recording)
        d->declarations.push_back({QString::fromUtf8(category), QString::fromUtf8(name), type});
    return type;
}

void EventHandler::registerEventTypes(const char* category)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    ++d->uses[category];
}

void EventHandler::unregisterEventTypes(const char* category)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const auto found = d->uses.find(category);
    if (found != d->uses.end() && --found->second == 0)
        d->uses.erase(found);
}

bool EventHandler::isRegistered(const char* category) const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->uses.count(category) > 0;
}

EventType EventHandler::getEventType(const char* category, const char* name) const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    const auto found = d->types.find(std::make_pair(std::string(category), std::string(name)));
    return found == d->types.end() ? 0 : found->second;
}

QString EventHandler::getEventName(EventType type) const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    for (const auto& [key, value] : d->types)
        if (value == type)
            return QString::fromStdString(key.first + "/" + key.second);
    return QString();
}

void EventHandler::recordDeclarations(bool record)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    d->recording = record;
    d->declarations.clear();
}

std::vector<EventDeclaration> EventHandler::getDeclarations() const
{
    std::lock_guard<std::mutex> guard(d->mutex);
    return d->declarations;
}

} // namespace tov::events
