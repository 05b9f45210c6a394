#include "app/viewer/desktoprecent.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QStandardPaths>
#include <QUrl>

#include <functional>
#include <glib.h>
#include <memory>

namespace tov::viewer {

namespace {

constexpr char Application[] = "tov";
constexpr char CommandLine[] = "tov %u";

QByteArray addressOf(const QString& fileName)
{
    return QUrl::fromLocalFile(QFileInfo(fileName).absoluteFilePath()).toEncoded();
}

/// Reads the list, changes it and replaces the file. Without write access nothing happens: the list is a convenience.
void changeList(const std::function<void(GBookmarkFile* list)>& change)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QByteArray name = QFile::encodeName(folder + QStringLiteral("/recently-used.xbel"));
    const std::unique_ptr<GBookmarkFile, void (*)(GBookmarkFile*)> list(g_bookmark_file_new(), g_bookmark_file_free);
    const bool isNew = !QFile::exists(QFile::decodeName(name));
    if (!isNew && !g_bookmark_file_load_from_file(list.get(), name.constData(), nullptr))
        return;
    change(list.get());
    if (QDir().mkpath(folder))
        g_bookmark_file_to_file(list.get(), name.constData(), nullptr);
}

} // namespace

void addToDesktopRecent(const QString& fileName)
{
    const QByteArray address = addressOf(fileName), type = QMimeDatabase().mimeTypeForFile(fileName).name().toUtf8();
    changeList([&](GBookmarkFile* list) {
        g_bookmark_file_set_mime_type(list, address.constData(), type.constData());
        g_bookmark_file_add_application(list, address.constData(), Application, CommandLine);
    });
}

void removeFromDesktopRecent(const QStringList& fileNames)
{
    changeList([&](GBookmarkFile* list) {
        for (const QString& fileName : fileNames)
            g_bookmark_file_remove_application(list, addressOf(fileName).constData(), Application, nullptr);
    });
}

} // namespace tov::viewer
