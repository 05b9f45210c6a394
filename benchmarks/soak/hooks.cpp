// Replaces functions of the libraries and the system, to measure waits and to simulate a lack of memory.

#include "benchmarks/soak/hooks.h"

#include "benchmarks/soak/support.h"
#include "kernel/main/export.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/scene.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>

#include <dlfcn.h>
#include <sys/sysinfo.h>

namespace tov::soak {

std::atomic<qint64> simulatedFree{-1};
std::atomic<qint64> residentAtStart{0};
std::vector<double> paintWaits;

namespace {

thread_local double contextWaitMs = -1;

} // namespace

} // namespace tov::soak

void tov::scene::SharedContext::lock()
{
    static const auto real =
        reinterpret_cast<void (*)(SharedContext*)>(dlsym(RTLD_NEXT, "_ZN3tov5scene13SharedContext4lockEv"));
    QElapsedTimer clock;
    clock.start();
    real(this);
    tov::soak::contextWaitMs = double(clock.nsecsElapsed()) / 1e6;
}

void tov::scene::Scene::lock()
{
    static const auto real = reinterpret_cast<void (*)(Scene*)>(dlsym(RTLD_NEXT, "_ZN3tov5scene5Scene4lockEv"));
    QElapsedTimer clock;
    clock.start();
    real(this);
    if (tov::soak::contextWaitMs >= 0 && QThread::currentThread() == QCoreApplication::instance()->thread())
        tov::soak::paintWaits.push_back(tov::soak::contextWaitMs + double(clock.nsecsElapsed()) / 1e6);
    tov::soak::contextWaitMs = -1;
}

// Replaces the system's function, by which the recording finds out how much memory is free.
extern "C" TOV_EXPORT int sysinfo(struct sysinfo* info) noexcept
{
    static const auto real = reinterpret_cast<int (*)(struct ::sysinfo*)>(dlsym(RTLD_NEXT, "sysinfo"));
    const int result = real(info);
    const qint64 free = tov::soak::simulatedFree;
    if (free >= 0) {
        info->mem_unit = 1;
        info->freeram = static_cast<unsigned long>(
            std::max<qint64>(0, free - (tov::soak::residentBytes() - tov::soak::residentAtStart)));
        info->bufferram = 0;
    }
    return result;
}
