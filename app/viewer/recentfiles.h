#pragma once

#include <QMenu>
#include <QStringList>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// The "Open recent" menu: the models opened last, each with a small picture of its view. Thread: application.
class RecentFiles : public QMenu
{
    Q_OBJECT
public:
    explicit RecentFiles(const QString& title, QWidget* parent = nullptr);

    /// Puts a file first and, if `panel` is not null, keeps a small picture of what it shows.
    void add(const QString& fileName, tov::gui::ScenePanel* panel);
    /// Absolute names, newest first.
    static QStringList getFiles();
    /// Where the small picture of a file is kept, whether it is there or not.
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
