#pragma once

#include "trajectory/motion.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <vector>

namespace tov::trajectory {

/// A camera that moves smoothly through given views. The target, the orientation, the distance to the target and the
/// field of view are cubic Hermite splines (tangents of Catmull and Rom for uneven times; orientations as quaternions
/// of aligned sign). Value and first derivative are continuous, and every view is passed exactly. Two views of the same
/// target are joined by an orbit around it.
class TOV_EXPORT CameraPath
{
public:
    struct Key
    {
        double time = 0; ///< seconds, ascending
        tov::scene::Camera camera;
    };
    struct Options
    {
        bool loop = false; ///< continues from the last view to the first
        /// Seconds of a loop, more than the time of the last view; 0: the way back takes as long as the other segments
        /// on average. Not for paths without a loop.
        double duration = 0;
        bool constantSpeed = false; ///< the eye moves at constant speed; the times of the views have no effect
        Ease ease = Ease::None;     ///< not for loops
    };

    /// On failure false and one line in `error`. Thread: any, as for all functions.
    static bool create(std::vector<Key> keys, const Options& options, CameraPath& path, QString* error);
    /// Reads the JSON form; docs/manual.md describes it.
    static bool fromJson(const QByteArray& data, CameraPath& path, QString* error);
    /// The path as a file; `fromJson` reads it back.
    QByteArray toJson() const;

    /// The keys, by ascending time.
    const std::vector<Key>& getKeys() const { return m_Keys; }
    /// How the path is played.
    const Options& getOptions() const { return m_Options; }
    /// Seconds from the first view to the last, or around the loop. 0 for a path that is empty or has one view.
    double duration() const { return m_Duration; }
    /// The view at `seconds` after the first one, with ease and constant speed.
    tov::scene::Camera cameraAt(double seconds) const;
    /// The view at `seconds` on the spline itself, without ease and constant speed; passes each key at its time.
    tov::scene::Camera splineAt(double seconds) const;

private:
    /// Target, quaternion, logarithm of the distance, field of view.
    typedef std::array<double, 9> State;
    static State stateOf(const tov::scene::Camera& camera);
    tov::scene::Camera cameraOf(const State& state, bool orthographic) const;
    void computeTangents();
    void computeLengths();

    std::vector<Key> m_Keys;
    Options m_Options;
    double m_Duration = 0;
    std::vector<double> m_Times;   ///< of the knots, from 0; a loop has one knot more than keys
    std::vector<State> m_States;   ///< of the knots, signs of the quaternions aligned
    std::vector<State> m_Tangents; ///< of the knots
    std::vector<double> m_Lengths; ///< length of the path up to evenly spaced times
};

/// A camera path frame by frame: without a loop from the first view to the last, both included; with a loop the last
/// frame is followed by the first.
class TOV_EXPORT PathMotion : public Motion
{
public:
    /// `seconds`: 0 for the path's own duration.
    static std::shared_ptr<const PathMotion> create(const CameraPath& path, double fps, double seconds, QString* error);
    unsigned long frameCount() const override { return m_Count; }
    std::optional<tov::scene::Camera> cameraAt(unsigned long frame) const override;
    /// The path that the camera follows.
    const CameraPath& getPath() const { return m_Path; }

private:
    PathMotion(const CameraPath& path, unsigned long count) : m_Path(path), m_Count(count) {}
    CameraPath m_Path;
    unsigned long m_Count;
};

} // namespace tov::trajectory
