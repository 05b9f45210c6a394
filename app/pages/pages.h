#pragma once

#include "app/cli/options/optiontable.h"

#include <QString>
#include <QStringList>

namespace tov::app {

// Texts that are made from the tables of verbs and options, in English.

/// The manual page tov(1), in the format of man. Thread: any.
QString manualPage();
/// Scripts that complete the arguments of tov in a shell. Thread: any.
QString bashCompletion();
QString zshCompletion();
QString fishCompletion();
/// One Markdown table for each group of options. Thread: any.
QString optionTables();

/// True when the shell completes file names as the value of the option. Thread: any.
bool completesFiles(const OptionSpec& option);
/// The fixed values that the shell completes. Thread: any.
QStringList fixedValues(const OptionSpec& option);
/// The names of the verbs that have the option, "window" for the window; empty when all have it. Thread: any.
QStringList verbsOf(const OptionSpec& option);

} // namespace tov::app
