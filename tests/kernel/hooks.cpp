#include "tests/kernel/hooks.h"

#include "kernel/main/export.h"

#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

namespace tov::test::hooks {

thread_local LockHook* lockHook = nullptr;
std::function<void(QThread*, const std::function<void()>&)> startHook;

} // namespace tov::test::hooks

#ifndef __SANITIZE_THREAD__

using namespace tov::test::hooks;

namespace {

template <typename Function>
Function next(const char* name)
{
    void* address = dlsym(RTLD_NEXT, name);
    if (!address) {
        std::fprintf(stderr, "%s is not defined in any library\n", name);
        std::abort();
    }
    return reinterpret_cast<Function>(address);
}

} // namespace

extern "C" TOV_EXPORT int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static const auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    LockHook* const hook = std::exchange(lockHook, nullptr);
    if (!hook)
        return real(mutex);
    if (hook->before)
        hook->before();
    int result = pthread_mutex_trylock(mutex);
    if (result != 0) {
        if (hook->blocked)
            hook->blocked();
        result = real(mutex);
    }
    lockHook = hook;
    return result;
}

void QThread::start(Priority priority)
{
    static const auto real = next<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    if (startHook)
        startHook(this, [&] { real(this, priority); });
    else
        real(this, priority);
}

#endif
