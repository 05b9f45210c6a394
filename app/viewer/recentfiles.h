#pragma once

#include <QMenu>
#include <QStringList>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

/// The "Open recent" menu: the models opened last, each with a small picture of it. Thread: application.
class RecentFiles : public QMenu
{
    Q_OBJECT
public:
    explicit RecentFiles(const QString& title, QWidget* parent = nullptr);

    /// Puts a file first and, if `model` is not null, stores a small picture of it.
    void add(const QString& fileName, tov::scene::SceneElement* model);
    /// Absolute names, newest first.
    static QStringList getFiles();
    /// Where the small picture of a file is stored, whether it exists or not.
    static QString getThumbnailFile(const QString& fileName);

signals:
    void chosen(const QString& fileName);
    /// The small picture of a file was written.
    void thumbnailStored(const QString& fileName);

private:
    void fill();
    void clearList();
};

} // namespace tov::viewer
