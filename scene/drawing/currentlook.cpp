// The look that all drawers share.

#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/scenelook.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace tov::scene {

namespace {

std::mutex& mutex()
{
    static auto* instance = new std::mutex;
    return *instance;
}

/// Guarded by `mutex`; never destroyed, because threads may draw until the process ends.
SceneLook& current()
{
    static auto* instance = new SceneLook;
    return *instance;
}

double limited(double value, double low, double high, double otherwise)
{
    return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
}

int limitedSamples(int samples)
{
    return samples < 2 ? 0 : std::min(samples, 8);
}

} // namespace

SceneLook SceneDrawer::getLook()
{
    std::lock_guard<std::mutex> guard(mutex());
    return current();
}

void SceneDrawer::setLook(const SceneLook& look)
{
    const SceneLook usual;
    std::lock_guard<std::mutex> guard(mutex());
    current() = look;
    current().exposure = limited(look.exposure, 0, 1000, usual.exposure);
    current().pointSize = limited(look.pointSize, 1e-5, 0.5, usual.pointSize);
    current().lineWidth = limited(look.lineWidth, 1e-5, 0.5, usual.lineWidth);
    current().samples = limitedSamples(look.samples);
    if (look.clip && (look.clip->axis > 2 || !std::isfinite(look.clip->position)))
        current().clip.reset();
}

int SceneDrawer::getMultisampling()
{
    std::lock_guard<std::mutex> guard(mutex());
    return current().samples;
}

void SceneDrawer::setMultisampling(int samples)
{
    std::lock_guard<std::mutex> guard(mutex());
    current().samples = limitedSamples(samples);
}

} // namespace tov::scene
