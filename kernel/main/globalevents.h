#pragma once

// One constant per event of the category "Global". Internal linkage on purpose: every source unit that includes this
// header declares the list when its library is loaded, so that the events exist whichever library is loaded first.
// Include it from source files only, never from a header.

#include "kernel/events/eventhandler.h"

namespace tov::events::global {

// clang-format off
[[maybe_unused]] static const EventType MACRO_STARTED = EventHandler::getInstance()->addEvent("Global", "MACRO_STARTED");
[[maybe_unused]] static const EventType MACRO_STOPPED = EventHandler::getInstance()->addEvent("Global", "MACRO_STOPPED");
[[maybe_unused]] static const EventType REDO_AVAILABLE = EventHandler::getInstance()->addEvent("Global", "REDO_AVAILABLE");
[[maybe_unused]] static const EventType REDO_NOT_AVAILABLE = EventHandler::getInstance()->addEvent("Global", "REDO_NOT_AVAILABLE");
[[maybe_unused]] static const EventType UNDO_AVAILABLE = EventHandler::getInstance()->addEvent("Global", "UNDO_AVAILABLE");
[[maybe_unused]] static const EventType UNDO_NOT_AVAILABLE = EventHandler::getInstance()->addEvent("Global", "UNDO_NOT_AVAILABLE");
[[maybe_unused]] static const EventType SETTINGS_CHANGED = EventHandler::getInstance()->addEvent("Global", "SETTINGS_CHANGED");
[[maybe_unused]] static const EventType SETTINGS_LOCKED = EventHandler::getInstance()->addEvent("Global", "SETTINGS_LOCKED");
[[maybe_unused]] static const EventType SETTINGS_UNLOCKED = EventHandler::getInstance()->addEvent("Global", "SETTINGS_UNLOCKED");
[[maybe_unused]] static const EventType RESET_SETTINGS = EventHandler::getInstance()->addEvent("Global", "RESET_SETTINGS");
[[maybe_unused]] static const EventType KERNEL_IS_ONLINE = EventHandler::getInstance()->addEvent("Global", "KERNEL_IS_ONLINE");
// clang-format on

} // namespace tov::events::global
