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
/// True when a loaded plug-in reports that videos with that ending store transparency (the symbol "listAlphaFormats").
/// Thread: application.
bool hasVideoAlpha(const QString& ending);
/// The same for videos that are encoded for a bit rate ("listBitrateFormats"). Thread: application.
bool hasVideoBitrate(const QString& ending);
/// The same for videos that are written once from start to end ("listStreamFormats"). Thread: application.
bool isStreamableVideo(const QString& ending);

} // namespace tov::app
