#include "trajectory/trajectoryrange.h"

#include "trajectory/motion.h"
#include "trajectory/trajectoryhandler.h"

namespace tov::trajectory {

namespace {

/// A number of successive frames of a motion.
class MotionRange : public Motion
{
public:
    MotionRange(std::shared_ptr<const Motion> motion, unsigned long first, unsigned long count)
        : mp_Motion(std::move(motion)), m_First(first), m_Count(count)
    {}
    unsigned long frameCount() const override { return m_Count; }
    std::optional<tov::scene::Camera> cameraAt(unsigned long frame) const override
    {
        return mp_Motion->cameraAt(m_First + frame);
    }
    bool movesElements() const override { return mp_Motion->movesElements(); }
    void moveElements(unsigned long frame, tov::scene::SceneElement* root,
                      std::uint64_t structureRevision) const override
    {
        mp_Motion->moveElements(m_First + frame, root, structureRevision);
    }

private:
    const std::shared_ptr<const Motion> mp_Motion;
    const unsigned long m_First, m_Count;
};

template <typename List>
List slice(const List& list, unsigned long first, unsigned long count)
{
    const auto begin = list.begin() + std::ptrdiff_t(first);
    return List(begin, begin + std::ptrdiff_t(count));
}

} // namespace

TrajectoryRange::TrajectoryRange()
    : m_Mode(TrajectoryHandler::getInstance()->getSelectedMode()),
      m_Count(TrajectoryHandler::getInstance()->getCount()),
      m_Motion(TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo()->getMotion()),
      m_Points(TrajectoryHandler::getInstance()->getTrajectoryInfo()->getPoints()),
      mp_Maps(TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo()->getMatrixMapList())
{}

/// The place of everything at a position: an element that a map does not name stays where an earlier map put it.
MatrixMap TrajectoryRange::mapAt(unsigned long position) const
{
    MatrixMap places;
    for (unsigned long i = 0; i <= position; ++i)
        for (const auto& [name, matrix] : (*mp_Maps)[i])
            places.insert_or_assign(name, matrix);
    return places;
}

void TrajectoryRange::select(unsigned long first, unsigned long count) const
{
    auto* handler = TrajectoryHandler::getInstance();
    if (m_Mode == TrajectoryHandler::ModeAdvanced && m_Motion) {
        handler->selectCameraMotion(std::make_shared<MotionRange>(m_Motion, first, count));
        return;
    }
    if (m_Mode == TrajectoryHandler::ModeAdvanced) {
        MatrixMapList maps = slice(*mp_Maps, first, count);
        maps.front() = mapAt(first);
        handler->getAdvancedTrajectoryInfo()->setMatrixMapList(std::move(maps));
    } else if (m_Mode == TrajectoryHandler::ModePlain) {
        handler->getTrajectoryInfo()->setPoints(slice(m_Points, first, count));
    }
    handler->selectMode(m_Mode);
    handler->setPosition(0);
}

} // namespace tov::trajectory
