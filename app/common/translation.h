#pragma once

namespace tov::app {

/// Loads the translations for the languages of the user's locale, Qt's own included; texts without one stay
/// English. Call it after the application object is created and before modules are loaded. Thread: application.
void installTranslations();

} // namespace tov::app
