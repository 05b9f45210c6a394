#pragma once

#include <QString>

namespace tov::viewer {

/// Colours of the window: "light", "dark", or empty for the desktop's own. Takes effect at once, everywhere.
/// Thread: application.
void applyTheme(const QString& name);

} // namespace tov::viewer
