#include "app/viewer/viewmarks.h"

#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

namespace tov::viewer {

using tov::scene::Box;
using tov::scene::Vector3;

void ViewMarks::setBoxShown(bool shown)
{
    m_BoxShown = shown;
    refreshBox();
}

void ViewMarks::refreshBox()
{
    Box box;
    if (m_BoxShown) {
        const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
        scene->lock();
        box = tov::scene::selectionBox(scene->getRootNode());
        if (box.isEmpty())
            box = tov::scene::visibleBox(scene->getRootNode());
        scene->unlock();
    }
    if (box.low == m_Box.low && box.high == m_Box.high)
        return;
    m_Box = box;
    emit changed();
}

void ViewMarks::addPoint(const Vector3& point)
{
    if (m_From && !m_To) {
        m_To = point;
    } else {
        m_From = point;
        m_To.reset();
    }
    emit changed();
}

void ViewMarks::clearPoints()
{
    if (!m_From)
        return;
    m_From.reset();
    m_To.reset();
    emit changed();
}

} // namespace tov::viewer
