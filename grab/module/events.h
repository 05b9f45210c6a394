#pragma once

// The module's own event types. Internal linkage on purpose: every source unit that includes this header declares them
// when the library is loaded, which is harmless twice. Include it from source files only, never from a header.

#include "kernel/events/eventhandler.h"

namespace tov::grab {

/// Other modules may listen for it; nothing in this module fires it.
[[maybe_unused]] static const tov::events::EventType PICTURE_GRABBED =
    tov::events::EventHandler::getInstance()->addEvent("Grab", "PICTURE_GRABBED");

} // namespace tov::grab
