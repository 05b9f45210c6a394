#pragma once

#include "scene/geometryelement.h"
#include "scene/sceneextent.h"

#include <QObject>

#include <optional>

namespace tov::viewer {

/// What the views show on top of the scene: the bounding box of the selection, or of the scene, and two measured
/// points. Pictures and videos never contain it. Thread: application.
class ViewMarks : public QObject
{
    Q_OBJECT
public:
    explicit ViewMarks(QObject* parent = nullptr) : QObject(parent) {}

    void setBoxShown(bool shown);
    bool isBoxShown() const { return m_BoxShown; }
    /// The box that is shown; empty: none.
    const tov::scene::Box& getBox() const { return m_Box; }
    /// Computes the box again after the scene or the selection has changed.
    void refreshBox();

    /// The first point, or the second; after both, the first of a new pair.
    void addPoint(const tov::scene::Vector3& point);
    void clearPoints();
    const std::optional<tov::scene::Vector3>& getFrom() const { return m_From; }
    const std::optional<tov::scene::Vector3>& getTo() const { return m_To; }

    bool isEmpty() const { return m_Box.isEmpty() && !m_From; }

signals:
    void changed();

private:
    bool m_BoxShown = false;
    tov::scene::Box m_Box;
    std::optional<tov::scene::Vector3> m_From;
    std::optional<tov::scene::Vector3> m_To;
};

} // namespace tov::viewer
