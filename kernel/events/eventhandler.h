#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <memory>
#include <vector>

namespace tov::events {

/// Number of an event type. 0 is no type.
typedef int EventType;

/// One call of `addEvent`, as the registry saw it.
struct EventDeclaration
{
    QString category;
    QString name;
    EventType type;
};

/// The registry of event types. Usable while any library is being loaded. Texts are copied, for they live in libraries
/// that may be unloaded. Thread: any (locked), though declarations come while libraries are loaded.
class TOV_EXPORT EventHandler
{
public:
    static EventHandler* getInstance();

    /// Declares an event type and returns its number; the same category and name always give the same number, so
    /// declaring twice is harmless.
    EventType addEvent(const char* category, const char* name);
    /// Takes the declared events of a category into use. Counted: it must be taken back as often.
    void registerEventTypes(const char* category);
    /// Takes one `registerEventTypes` back.
    void unregisterEventTypes(const char* category);

    /// True while the category is in use.
    bool isRegistered(const char* category) const;
    /// The number of a declared type, 0 when there is none.
    EventType getEventType(const char* category, const char* name) const;
    /// Category and name of a number, "Category/NAME"; empty when unknown.
    QString getEventName(EventType type) const;
    /// Every `addEvent` call since the process started, in order, repeats included (for diagnosis).
    std::vector<EventDeclaration> getDeclarations() const;

private:
    EventHandler();
    ~EventHandler();
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::events
