#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace tov::app {

/// Ending (lower case, no dot) and description of each video format that an encoder is loaded for. Thread: application.
std::vector<std::pair<QString, QString>> knownVideoFormats();
/// The endings alone.
QStringList knownVideoEndings();

} // namespace tov::app
