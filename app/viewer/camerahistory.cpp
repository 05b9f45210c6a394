#include "app/viewer/camerahistory.h"

#include "scene/view/scenepanel.h"

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::scene::Camera;

namespace {

constexpr std::size_t MaxStates = 200;

bool isSame(const Camera& a, const Camera& b)
{
    for (unsigned int i = 0; i < 16; ++i)
        if (a.rotation(i / 4, i % 4) != b.rotation(i / 4, i % 4))
            return false;
    return a.target == b.target && a.distance == b.distance && a.fieldOfView == b.fieldOfView &&
           a.orthographic == b.orthographic;
}

} // namespace

CameraHistory::CameraHistory(QObject* parent) : QObject(parent) {}

void CameraHistory::watch(ScenePanel* view)
{
    if (m_Histories.count(view) != 0)
        return;
    History& history = m_Histories[view];
    history.states = {view->getCamera()};
    history.pause = new QTimer(this);
    history.pause->setSingleShot(true);
    connect(history.pause, &QTimer::timeout, this, [this, view] { settle(view); });
    connect(view, &ScenePanel::viewChanged, this, [this, view] {
        const auto found = m_Histories.find(view);
        if (!m_Restoring && found != m_Histories.end())
            found->second.pause->start(m_PauseMs);
    });
    connect(view, &QObject::destroyed, this, [this, view] {
        const auto found = m_Histories.find(view);
        if (found == m_Histories.end())
            return;
        delete found->second.pause;
        m_Histories.erase(found);
    });
}

void CameraHistory::settle(ScenePanel* view)
{
    History& history = m_Histories[view];
    const Camera now = view->getCamera();
    if (isSame(now, history.states[history.current]))
        return;
    // A new movement clears the movements that could be redone.
    history.states.resize(history.current + 1);
    history.states.push_back(now);
    if (history.states.size() > MaxStates)
        history.states.erase(history.states.begin());
    history.current = history.states.size() - 1;
}

bool CameraHistory::canUndo(const ScenePanel* view) const
{
    const auto found = m_Histories.find(view);
    return found != m_Histories.end() && (found->second.current > 0 || found->second.pause->isActive());
}

bool CameraHistory::isMoving(const ScenePanel* view) const
{
    const auto found = m_Histories.find(view);
    return found != m_Histories.end() && found->second.pause->isActive();
}

bool CameraHistory::canRedo(const ScenePanel* view) const
{
    const auto found = m_Histories.find(view);
    return found != m_Histories.end() && found->second.current + 1 < found->second.states.size();
}

void CameraHistory::undo(ScenePanel* view)
{
    go(view, -1);
}

void CameraHistory::redo(ScenePanel* view)
{
    go(view, 1);
}

void CameraHistory::go(ScenePanel* view, int step)
{
    const auto found = m_Histories.find(view);
    if (found == m_Histories.end())
        return;
    History& history = found->second;
    // The latest movement is undone first.
    if (history.pause->isActive()) {
        history.pause->stop();
        settle(view);
    }
    const long long target = static_cast<long long>(history.current) + step;
    if (target < 0 || target >= static_cast<long long>(history.states.size()))
        return;
    history.current = static_cast<std::size_t>(target);
    m_Restoring = true;
    view->fly([&] { view->setCamera(history.states[history.current]); });
    m_Restoring = false;
}

} // namespace tov::viewer
