#pragma once

#include "app/common/scenefile.h"
#include "scene/view/camera.h"

#include <QIcon>
#include <QMenu>

#include <functional>
#include <vector>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// The "Bookmarks" menu: views that the user has kept, each with a thumbnail. Scene files store them. Thread:
/// application.
class ViewBookmarks : public QMenu
{
    Q_OBJECT
public:
    /// `activeView` returns the view to keep and to move, or null.
    ViewBookmarks(const QString& title, std::function<tov::gui::ScenePanel*()> activeView, QWidget* parent);

    /// Keeps the camera of the active view.
    void add();
    /// Moves the active view to a bookmark, by its number from 0.
    void go(std::size_t index);
    std::size_t getCount() const { return m_Bookmarks.size(); }
    /// The bookmarks as a scene file stores them.
    std::vector<tov::app::SceneFile::Bookmark> getBookmarks() const;
    /// Replaces all bookmarks; their pictures show the scene as it is now.
    void setBookmarks(const std::vector<tov::app::SceneFile::Bookmark>& bookmarks);

signals:
    void changed();

private:
    struct Bookmark
    {
        QString name;
        QIcon picture;
        tov::scene::Camera camera;
    };
    void fill();

    std::function<tov::gui::ScenePanel*()> m_ActiveView;
    std::vector<Bookmark> m_Bookmarks;
    int m_NextNumber = 1;
    QAction* mp_Add; ///< child; keeps its shortcut while the menu is filled again
};

} // namespace tov::viewer
