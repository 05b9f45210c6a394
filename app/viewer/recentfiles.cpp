#include "app/viewer/recentfiles.h"

#include "app/viewer/desktoprecent.h"
#include "app/viewer/thumbnail.h"
#include "kernel/main/settings.h"
#include "kernel/util/cache.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QProxyStyle>

namespace tov::viewer {

namespace {

constexpr int MaxFiles = 12;
/// Edge of a thumbnail, pixels.
constexpr int ThumbnailEdge = 128;
constexpr int IconEdge = 40;

const QString FilesKey = QStringLiteral("window/recentfiles");

/// A menu whose icons have the size of the thumbnails.
class LargeIconStyle : public QProxyStyle
{
public:
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        return metric == PM_SmallIconSize ? IconEdge : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

} // namespace

RecentFiles::RecentFiles(const QString& title, QWidget* parent) : QMenu(title, parent)
{
    auto* style = new LargeIconStyle;
    style->setParent(this);
    setStyle(style);
    setToolTipsVisible(true);
    connect(this, &QMenu::aboutToShow, this, &RecentFiles::fill);
    fill();
}

QStringList RecentFiles::getFiles()
{
    return tovSettings().value(FilesKey).toStringList();
}

QString RecentFiles::getThumbnailFile(const QString& fileName)
{
    const QByteArray hash =
        QCryptographicHash::hash(QFileInfo(fileName).absoluteFilePath().toUtf8(), QCryptographicHash::Sha1).toHex();
    return tov::util::cacheFile(QStringLiteral("thumbnails")) + QLatin1Char('/') + QString::fromLatin1(hash) +
           QStringLiteral(".png");
}

void RecentFiles::add(const QString& fileName, tov::scene::SceneElement* model)
{
    const QString path = QFileInfo(fileName).absoluteFilePath();
    QStringList files = getFiles();
    files.removeAll(path);
    files.prepend(path);
    while (files.size() > MaxFiles)
        QFile::remove(getThumbnailFile(files.takeLast()));
    tovSettings().setValue(FilesKey, files);
    addToDesktopRecent(path);
    const QImage picture = drawThumbnail(model, ThumbnailEdge);
    if (picture.isNull())
        return;
    const QString name = getThumbnailFile(path);
    QDir().mkpath(QFileInfo(name).absolutePath());
    // A missing thumbnail does no harm, so errors are not reported.
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit())
        emit thumbnailStored(path);
}

void RecentFiles::fill()
{
    clear();
    const QStringList files = getFiles();
    for (const QString& file : files) {
        auto* action = addAction(QFileInfo(file).fileName().replace(QLatin1Char('&'), QLatin1String("&&")), this,
                                 [this, file] { emit chosen(file); });
        action->setToolTip(QDir::toNativeSeparators(file));
        action->setEnabled(QFileInfo::exists(file));
        const QPixmap picture(getThumbnailFile(file));
        if (!picture.isNull())
            action->setIcon(QIcon(picture));
    }
    if (files.isEmpty()) {
        addAction(tr("No files yet"))->setEnabled(false);
        return;
    }
    addSeparator();
    addAction(tr("Clear this list"), this, &RecentFiles::clearList);
}

void RecentFiles::clearList()
{
    const QStringList files = getFiles();
    for (const QString& file : files)
        QFile::remove(getThumbnailFile(file));
    removeFromDesktopRecent(files);
    tovSettings().remove(FilesKey);
}

} // namespace tov::viewer
