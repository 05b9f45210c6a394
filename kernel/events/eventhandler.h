#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <memory>
#include <vector>

namespace tov::events {

/// Number of an event type. 0 is not a type.
typedef int EventType;

/// One call of `addEvent`.
struct EventDeclaration
{
    QString category;
    QString name;
    EventType type;
};

/// The registry of event types. It can be used while libraries are being loaded. Texts are copied, because they belong
/// to libraries that may be unloaded. Thread: any.
class TOV_EXPORT EventHandler
{
public:
    /// The registry of the process; never null.
    static EventHandler* getInstance();

    /// Declares an event type and returns its number. The same category and name always give the same number.
    EventType addEvent(const char* category, const char* name);
    /// Marks the events of a category as in use. Each call must be matched by one `unregisterEventTypes`.
    void registerEventTypes(const char* category);
    /// Undoes one `registerEventTypes`.
    void unregisterEventTypes(const char* category);

    /// True while the category is in use.
    bool isRegistered(const char* category) const;
    /// The number of a declared type; 0 when it is not declared.
    EventType getEventType(const char* category, const char* name) const;
    /// The type as "Category/NAME"; empty when the number is unknown.
    QString getEventName(EventType type) const;
    /// Starts (or stops) recording `addEvent` calls and discards earlier records. Off at first: events are looked up
    /// by `addEvent` each time they are fired. For diagnosis.
    void recordDeclarations(bool record);
    /// The recorded `addEvent` calls in order, repeats included.
    std::vector<EventDeclaration> getDeclarations() const;

private:
    EventHandler();
    ~EventHandler();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::events
