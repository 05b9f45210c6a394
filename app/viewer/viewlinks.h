#pragma once

#include "scene/view/camera.h"

#include <QObject>

#include <map>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// Links the cameras of the views: what one turns, moves or zooms, the others turn, move or zoom by the same amount, so
/// that views of different sides stay different. Thread: application.
class ViewLinks : public QObject
{
    Q_OBJECT
public:
    explicit ViewLinks(QObject* parent = nullptr) : QObject(parent) {}

    /// Includes a view until it is destroyed.
    void watch(tov::gui::ScenePanel* view);
    void setLinked(bool linked);
    bool areLinked() const { return m_Linked; }

private:
    void follow(tov::gui::ScenePanel* moved);

    std::map<tov::gui::ScenePanel*, tov::scene::Camera> m_Cameras; ///< as they were after the last movement
    bool m_Linked = false;
    bool m_IsFollowing = false;
};

} // namespace tov::viewer
