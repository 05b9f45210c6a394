#include "trajectory/animationmotion.h"

#include "scene/geometryelement.h"
#include "scene/sceneelement.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace tov::trajectory {

using tov::scene::AnimationChannel;
using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using Path = AnimationChannel::Path;
using Interpolation = AnimationChannel::Interpolation;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::trajectory", text);
}

/// Values of one key.
std::size_t keySize(const AnimationChannel& channel)
{
    return channel.times.empty() ? 0 : channel.values.size() / channel.times.size();
}

/// Between keys `i` and `i + 1`, glTF 2.0 appendix C.
void interpolate(const AnimationChannel& channel, std::size_t i, double share, std::vector<double>& result)
{
    const std::size_t size = keySize(channel), count = result.size();
    const float* a = &channel.values[i * size];
    const float* b = a + size;
    if (channel.interpolation == Interpolation::CubicSpline) {
        const double length = channel.times[i + 1] - channel.times[i], s = share;
        for (std::size_t k = 0; k < count; ++k)
            result[k] = (1 + 2 * s) * (1 - s) * (1 - s) * a[count + k] +
                        s * (1 - s) * (1 - s) * length * a[2 * count + k] + s * s * (3 - 2 * s) * b[count + k] +
                        s * s * (s - 1) * length * b[k];
    } else if (channel.path == Path::Rotation) {
        const Quaternion q = slerp(normalized({a[0], a[1], a[2], a[3]}), normalized({b[0], b[1], b[2], b[3]}), share);
        std::copy(q.begin(), q.end(), result.begin());
    } else {
        for (std::size_t k = 0; k < count; ++k)
            result[k] = a[k] + share * (double(b[k]) - a[k]);
    }
}

} // namespace

QString findChannelProblem(const AnimationChannel& channel)
{
    const auto& times = channel.times;
    if (times.empty())
        return tr("a channel has no keys");
    for (std::size_t i = 0; i < times.size(); ++i)
        if (!std::isfinite(times[i]) || (i > 0 && !(times[i] > times[i - 1])))
            return tr("the key times do not ascend");
    const bool spline = channel.interpolation == Interpolation::CubicSpline;
    const std::size_t perKey = keySize(channel), count = spline ? perKey / 3 : perKey;
    if (channel.values.size() != perKey * times.size() || count == 0 || (spline && perKey % 3 != 0) ||
        (channel.path == Path::Rotation && count != 4) ||
        ((channel.path == Path::Translation || channel.path == Path::Scale) && count != 3))
        return tr("the number of values does not fit the number of keys");
    if (!std::all_of(channel.values.begin(), channel.values.end(), [](float v) { return std::isfinite(v); }))
        return tr("a value is not a number");
    return QString();
}

std::vector<double> sampled(const AnimationChannel& channel, double seconds)
{
    const bool spline = channel.interpolation == Interpolation::CubicSpline;
    const std::size_t size = keySize(channel), count = spline ? size / 3 : size;
    std::vector<double> result(count);
    const auto after = std::upper_bound(channel.times.begin(), channel.times.end(), seconds);
    const std::size_t next = std::size_t(after - channel.times.begin());
    const std::size_t at = next == 0 ? 0 : next - 1;
    if (next == 0 || next == channel.times.size() || channel.interpolation == Interpolation::Step) {
        const float* value = &channel.values[at * size + (spline ? count : 0)];
        std::copy(value, value + count, result.begin());
    } else {
        interpolate(channel, at, (seconds - channel.times[at]) / (channel.times[next] - channel.times[at]), result);
    }
    if (channel.path == Path::Rotation) {
        const Quaternion q = normalized({result[0], result[1], result[2], result[3]});
        std::copy(q.begin(), q.end(), result.begin());
    }
    return result;
}

/// An element and the channels that move it.
struct AnimationMotion::Target
{
    std::uint64_t id;
    Pose rest;
    tov::math::Matrix4 restMatrix;
    const AnimationChannel* channels[4] = {}; ///< by path
    SceneElement* element = nullptr;          ///< null: not in the scene

    void move(double seconds) const
    {
        const auto* translation = channels[std::size_t(Path::Translation)];
        const auto* rotation = channels[std::size_t(Path::Rotation)];
        const auto* scale = channels[std::size_t(Path::Scale)];
        if (translation || rotation || scale) {
            Pose pose = rest;
            const auto take = [seconds](const AnimationChannel* channel, auto& values) {
                if (!channel)
                    return;
                const auto now = sampled(*channel, seconds);
                std::copy(now.begin(), now.end(), values.begin());
            };
            take(translation, pose.translation);
            take(rotation, pose.rotation);
            take(scale, pose.scale);
            tov::math::Matrix4 matrix = restMatrix;
            if (rotation || scale)
                matrix = composed(pose);
            for (unsigned int axis = 0; axis < 3; ++axis)
                matrix(axis, 3) = pose.translation[axis];
            element->setTransform(matrix);
        }
        if (const auto* weights = channels[std::size_t(Path::MorphWeights)]) {
            const auto now = sampled(*weights, seconds);
            for (SceneElement* child : element->getChildren())
                if (auto* geometry = dynamic_cast<GeometryElement*>(child))
                    geometry->setMorphWeights(std::vector<float>(now.begin(), now.end()));
        }
    }
};

AnimationMotion::~AnimationMotion() = default;

std::shared_ptr<const AnimationMotion> AnimationMotion::create(const tov::scene::Animation& animation,
                                                               const PlaybackOptions& options, QString* error)
{
    const auto fail = [&](const QString& reason) {
        if (error)
            *error = tr("the animation \"%1\" cannot be played: %2").arg(animation.name.simplified(), reason);
        return nullptr;
    };
    if (!std::isfinite(animation.duration) || animation.duration < 0)
        return fail(tr("its duration is not a number"));
    if (options.start > animation.duration)
        return fail(tr("it lasts %1 s, so it has no position at %2 s")
                        .arg(QString::number(animation.duration), QString::number(options.start)));
    const double seconds = options.seconds > 0 ? options.seconds : animation.duration;
    std::shared_ptr<AnimationMotion> motion(new AnimationMotion);
    motion->m_Count = frameCountOf(seconds, options.fps);
    if (motion->m_Count == 0)
        return fail(tr("%1 s at %2 frames per second are more than 1000000 frames")
                        .arg(QString::number(seconds), QString::number(options.fps)));
    for (const AnimationChannel& channel : animation.channels) {
        const QString problem = findChannelProblem(channel);
        if (!problem.isEmpty())
            return fail(problem);
    }
    motion->m_Animation = animation;
    motion->m_Options = options;
    motion->m_Options.seconds = seconds;
    std::unordered_map<std::uint64_t, std::size_t> places;
    for (const AnimationChannel& channel : motion->m_Animation.channels) {
        if (!channel.target)
            continue;
        const auto [place, added] = places.emplace(channel.target->getId(), motion->m_Targets.size());
        if (added) {
            const auto& matrix = channel.target->getTransform();
            motion->m_Targets.push_back({channel.target->getId(), decomposed(matrix), matrix, {}, nullptr});
        }
        motion->m_Targets[place->second].channels[std::size_t(channel.path)] = &channel;
    }
    if (motion->m_Targets.empty())
        return fail(tr("it moves nothing"));
    motion->m_Revision = std::numeric_limits<std::uint64_t>::max();
    return motion;
}

double AnimationMotion::timeAt(unsigned long frame) const
{
    const double seconds = double(frame) / m_Options.fps;
    const double length = m_Animation.duration;
    if (!(length > 0))
        return 0;
    if (m_Options.repeat)
        return std::fmod(m_Options.start + seconds, length);
    const double stretch = m_Options.seconds == length ? 1 : length / m_Options.seconds;
    return std::min(m_Options.start + seconds * stretch, length);
}

void AnimationMotion::bind(SceneElement* root) const
{
    std::unordered_map<std::uint64_t, Target*> wanted;
    for (Target& target : m_Targets) {
        target.element = nullptr;
        wanted.emplace(target.id, &target);
    }
    std::vector<SceneElement*> pending;
    if (root)
        pending.push_back(root);
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        const auto found = wanted.find(element->getId());
        if (found != wanted.end())
            found->second->element = element;
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
}

void AnimationMotion::moveElements(unsigned long frame, SceneElement* root, std::uint64_t structureRevision) const
{
    std::lock_guard<std::mutex> guard(m_Mutex);
    if (m_Revision != structureRevision) {
        m_Revision = structureRevision;
        bind(root);
    }
    const double seconds = timeAt(frame);
    for (const Target& target : m_Targets)
        if (target.element)
            target.move(seconds);
}

} // namespace tov::trajectory
