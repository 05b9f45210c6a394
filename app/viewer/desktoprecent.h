#pragma once

#include <QString>
#include <QStringList>

namespace tov::viewer {

/// Adds a file to the recent documents of the desktop (recently-used.xbel in the user's data folder, shared by all
/// programs). A list that cannot be read is left unchanged. Thread: application.
void addToDesktopRecent(const QString& fileName);

/// Removes the entries that this program has made for the files. Thread: application.
void removeFromDesktopRecent(const QStringList& fileNames);

} // namespace tov::viewer
