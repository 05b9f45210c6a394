#include "trajectory/camerapath.h"

#include "trajectory/pose.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace tov::trajectory {

using tov::math::Matrix4;
using tov::scene::Camera;

namespace {

constexpr std::size_t MaxKeys = 100000;
/// Steps of the length table: between two views, and the maximum for the whole path.
constexpr std::size_t LengthSteps = 200;
constexpr std::size_t MaxLengthSteps = 200000;
/// Weight of a rotation of the camera in the length of the path, so that views that only turn take time.
constexpr double TurnShare = 0.02;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::trajectory", text);
}

Quaternion orientation(const Camera& camera)
{
    return decomposed(camera.rotation).rotation;
}

} // namespace

CameraPath::State CameraPath::stateOf(const Camera& camera)
{
    const Quaternion q = orientation(camera);
    return {camera.target[0],          camera.target[1],  camera.target[2], q[0], q[1], q[2], q[3],
            std::log(camera.distance), camera.fieldOfView};
}

Camera CameraPath::cameraOf(const State& state, bool orthographic) const
{
    Camera camera;
    camera.target = {state[0], state[1], state[2]};
    Pose pose;
    pose.rotation = normalized({state[3], state[4], state[5], state[6]});
    camera.rotation = composed(pose);
    camera.distance = std::exp(state[7]);
    camera.fieldOfView = std::clamp(state[8], Camera::MinFieldOfView, Camera::MaxFieldOfView);
    camera.orthographic = orthographic;
    return camera;
}

bool CameraPath::create(std::vector<Key> keys, const Options& options, CameraPath& path, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (keys.empty() || keys.size() > MaxKeys)
        return fail(tr("a camera path needs 1 to 100000 views"));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const Camera& camera = keys[i].camera;
        const auto number = QString::number(i + 1);
        if (!std::isfinite(keys[i].time) || (i > 0 && !(keys[i].time > keys[i - 1].time)))
            return fail(tr("view %1: the times must ascend").arg(number));
        const State state = stateOf(camera);
        if (!std::all_of(state.begin(), state.end(), [](double value) { return std::isfinite(value); }))
            return fail(tr("view %1: the camera is not a valid view").arg(number));
    }
    const double span = keys.back().time - keys.front().time;
    if (!std::isfinite(span))
        return fail(tr("the times are too far apart"));
    const bool loop = options.loop && keys.size() > 1;
    if (options.duration != 0 && !(options.duration > span && std::isfinite(options.duration)))
        return fail(tr("the duration of a loop must be more than the time of its last view"));
    path = CameraPath();
    path.m_Options = options;
    path.m_Options.loop = loop;
    path.m_Duration = span;
    if (loop)
        path.m_Duration = options.duration > 0 ? options.duration : span + span / double(keys.size() - 1);
    for (const Key& key : keys) {
        path.m_Times.push_back(key.time - keys.front().time);
        path.m_States.push_back(stateOf(key.camera));
    }
    if (loop) {
        path.m_Times.push_back(path.m_Duration);
        path.m_States.push_back(path.m_States.front());
    }
    path.m_Keys = std::move(keys);
    path.computeTangents();
    path.computeLengths();
    return true;
}

void CameraPath::computeTangents()
{
    const std::size_t count = m_States.size();
    for (std::size_t i = 1; i < count; ++i) {
        double cosine = 0;
        for (std::size_t k = 3; k < 7; ++k)
            cosine += m_States[i - 1][k] * m_States[i][k];
        if (cosine < 0)
            for (std::size_t k = 3; k < 7; ++k)
                m_States[i][k] = -m_States[i][k];
    }
    m_Tangents.assign(count, State{});
    if (count < 2)
        return;
    const auto slope = [this](std::size_t i) {
        State result;
        for (std::size_t k = 0; k < result.size(); ++k)
            result[k] = (m_States[i + 1][k] - m_States[i][k]) / (m_Times[i + 1] - m_Times[i]);
        return result;
    };
    const auto between = [](const State& before, double timeBefore, const State& after, double timeAfter) {
        State result;
        for (std::size_t k = 0; k < result.size(); ++k)
            result[k] = (before[k] * timeAfter + after[k] * timeBefore) / (timeBefore + timeAfter);
        return result;
    };
    for (std::size_t i = 1; i + 1 < count; ++i)
        m_Tangents[i] = between(slope(i - 1), m_Times[i] - m_Times[i - 1], slope(i), m_Times[i + 1] - m_Times[i]);
    m_Tangents.front() = slope(0);
    m_Tangents.back() = slope(count - 2);
    if (!m_Options.loop)
        return;
    // The signs of the quaternions may flip once around the loop.
    State before = slope(count - 2);
    double cosine = 0;
    for (std::size_t k = 3; k < 7; ++k)
        cosine += m_States.front()[k] * m_States.back()[k];
    const double sign = cosine < 0 ? -1 : 1;
    for (std::size_t k = 3; k < 7; ++k)
        before[k] *= sign;
    m_Tangents.front() = between(before, m_Times[count - 1] - m_Times[count - 2], slope(0), m_Times[1] - m_Times[0]);
    m_Tangents.back() = m_Tangents.front();
    for (std::size_t k = 3; k < 7; ++k)
        m_Tangents.back()[k] *= sign;
}

void CameraPath::computeLengths()
{
    m_Lengths.clear();
    if (!m_Options.constantSpeed || m_States.size() < 2)
        return;
    const std::size_t steps = std::min(LengthSteps * (m_States.size() - 1), MaxLengthSteps);
    m_Lengths.push_back(0);
    Camera before = splineAt(0);
    for (std::size_t i = 1; i <= steps; ++i) {
        const Camera now = splineAt(m_Duration * double(i) / double(steps));
        const auto from = before.position(), to = now.position();
        double turn = 0;
        for (unsigned int k = 0; k < 12; ++k)
            turn += std::pow(now.rotation.data()[k] - before.rotation.data()[k], 2);
        const double move = std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
        m_Lengths.push_back(m_Lengths.back() + std::hypot(move, TurnShare * now.distance * std::sqrt(turn)));
        before = now;
    }
    if (!(m_Lengths.back() > 0))
        m_Lengths.clear();
}

Camera CameraPath::splineAt(double seconds) const
{
    if (m_States.size() < 2)
        return m_Keys.empty() ? Camera() : m_Keys.front().camera;
    const double time = std::clamp(seconds, 0.0, m_Duration);
    const auto after = std::upper_bound(m_Times.begin(), m_Times.end(), time);
    const std::size_t i =
        std::min(std::size_t(std::max<std::ptrdiff_t>(after - m_Times.begin(), 1)) - 1, m_States.size() - 2);
    const std::size_t key = i % m_Keys.size(), nextKey = (i + 1) % m_Keys.size();
    if (time == m_Times[i])
        return m_Keys[key].camera;
    if (time == m_Times[i + 1])
        return m_Keys[nextKey].camera;
    const double length = m_Times[i + 1] - m_Times[i], s = (time - m_Times[i]) / length;
    // The four Hermite polynomials.
    const double from = (1 + 2 * s) * (1 - s) * (1 - s), to = s * s * (3 - 2 * s);
    const double fromSlope = s * (1 - s) * (1 - s) * length, toSlope = s * s * (s - 1) * length;
    State state;
    for (std::size_t k = 0; k < state.size(); ++k)
        state[k] = from * m_States[i][k] + to * m_States[i + 1][k] + fromSlope * m_Tangents[i][k] +
                   toSlope * m_Tangents[i + 1][k];
    return cameraOf(state, m_Keys[key].camera.orthographic);
}

Camera CameraPath::cameraAt(double seconds) const
{
    if (!(m_Duration > 0))
        return splineAt(0);
    double share = std::clamp(seconds / m_Duration, 0.0, 1.0);
    if (!m_Options.loop)
        share = eased(m_Options.ease, share);
    if (m_Lengths.empty())
        return splineAt(share * m_Duration);
    const double wanted = share * m_Lengths.back();
    const auto after = std::lower_bound(m_Lengths.begin(), m_Lengths.end(), wanted);
    if (after == m_Lengths.begin())
        return splineAt(0);
    const std::size_t i = std::size_t(after - m_Lengths.begin());
    if (i >= m_Lengths.size())
        return splineAt(m_Duration);
    const double step = m_Lengths[i] - m_Lengths[i - 1];
    const double part = step > 0 ? (wanted - m_Lengths[i - 1]) / step : 1;
    return splineAt(m_Duration * (double(i - 1) + part) / double(m_Lengths.size() - 1));
}

std::shared_ptr<const PathMotion> PathMotion::create(const CameraPath& path, double fps, double seconds, QString* error)
{
    const unsigned long count = frameCountOf(seconds > 0 ? seconds : path.duration(), fps);
    if (count == 0) {
        if (error)
            *error = tr("the camera path has more than 1000000 frames");
        return nullptr;
    }
    return std::shared_ptr<const PathMotion>(new PathMotion(path, count));
}

std::optional<Camera> PathMotion::cameraAt(unsigned long frame) const
{
    const unsigned long steps = m_Path.getOptions().loop ? m_Count : std::max(1ul, m_Count - 1);
    return m_Path.cameraAt(m_Path.duration() * double(std::min(frame, steps)) / double(steps));
}

} // namespace tov::trajectory
