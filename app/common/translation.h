#pragma once

namespace tov::app {

/// Loads the translations for the languages that the person's locale names, Qt's own among them; texts without one stay
/// English. After the application object is made and before modules are loaded. Thread: application.
void installTranslations();

} // namespace tov::app
