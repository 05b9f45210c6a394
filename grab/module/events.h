#pragma once

// The module's own event types. Internal linkage on purpose: every source unit that includes this header registers them
// when the library is loaded; registering them twice is harmless. Include it in source files only, never in a header.

#include "kernel/events/eventhandler.h"

namespace tov::grab {

/// For other modules to listen to; this module does not fire it.
[[maybe_unused]] static const tov::events::EventType PICTURE_GRABBED =
    tov::events::EventHandler::getInstance()->addEvent("Grab", "PICTURE_GRABBED");

} // namespace tov::grab
