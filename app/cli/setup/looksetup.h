#pragma once

#include "app/cli/options/lookreader.h"

namespace tov::app {

/// Samples per pixel: from the request, otherwise the user's setting. Thread: any.
int samplesOf(const LookRequest& look);
/// Sets how all drawers of the process draw, and the opacity of the parts of the scene. On failure false with one line
/// in `error`. Thread: application.
bool applyLook(const LookRequest& look, QString* error);

} // namespace tov::app
