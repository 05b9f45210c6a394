#pragma once

#include <QMenu>
#include <QStringList>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

/// The "Open recent" menu: the models opened last, each with a thumbnail. Thread: application.
class RecentFiles : public QMenu
{
    Q_OBJECT
public:
    explicit RecentFiles(const QString& title, QWidget* parent = nullptr);

    /// Puts a file first and, if `model` is not null, stores its thumbnail.
    void add(const QString& fileName, tov::scene::SceneElement* model);
    /// Absolute names, newest first.
    static QStringList getFiles();
    /// The path of a file's thumbnail, whether it exists or not.
    static QString getThumbnailFile(const QString& fileName);

signals:
    void chosen(const QString& fileName);
    /// The thumbnail of a file was written.
    void thumbnailStored(const QString& fileName);

private:
    void fill();
    void clearList();
};

} // namespace tov::viewer
