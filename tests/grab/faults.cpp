#include "tests/grab/faults.h"

#include "scene/drawing/sharedcontext.h"
#include "scene/scene.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QThread>
#include <QTime>

#include <GL/gl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/sysinfo.h>

namespace tov::test::faults {

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

bool onCaptureThread()
{
    return QThread::currentThread()->objectName().endsWith(QLatin1String("Grabber"));
}

void tell(const char* call)
{
    if (const auto callback = onCall.load())
        callback(call);
}

bool takeOne(std::atomic<int>& count)
{
    int left = count.load();
    while (left > 0)
        if (count.compare_exchange_weak(left, left - 1))
            return true;
    return false;
}

} // namespace

void clear()
{
    sysinfoFails = false;
    freePages = -1;
    bufferPages = 0;
    glErrors = 0;
    refusedThread = nullptr;
    onRestart = nullptr;
    onSleep = nullptr;
    onMadvise = nullptr;
    contextCreateFails = false;
    makeCurrentFails = Where::Nowhere;
    bindsToFail = 0;
    readBacksToFail = 0;
    framebuffersMissing = false;
    maxTextureSize = -1;
    bufferOpenFails = false;
    bufferOpens = 0;
    writesWithoutMemory = 0;
    shortWrite = 0;
    onCall = nullptr;
    onStarted = nullptr;
    contextsBroughtBack = 0;
}

} // namespace tov::test::faults

using namespace tov::test::faults;

extern "C" TOV_EXPORT int sysinfo(struct sysinfo* info) noexcept
{
    static const auto real = next<int (*)(struct ::sysinfo*)>("sysinfo");
    if (sysinfoFails)
        return -1;
    const int result = real(info);
    if (freePages >= 0) {
        info->mem_unit = 4096;
        info->freeram = static_cast<unsigned long>(freePages);
        info->bufferram = static_cast<unsigned long>(bufferPages);
    }
    return result;
}

extern "C" TOV_EXPORT void glGetIntegerv(GLenum name, GLint* values)
{
    static const auto real = next<void (*)(GLenum, GLint*)>("glGetIntegerv");
    real(name, values);
    if (name == GL_MAX_TEXTURE_SIZE && maxTextureSize >= 0)
        *values = maxTextureSize;
}

extern "C" TOV_EXPORT GLenum glGetError()
{
    static const auto real = next<GLenum (*)()>("glGetError");
    return onCaptureThread() && takeOne(glErrors) ? GL_OUT_OF_MEMORY : real();
}

extern "C" TOV_EXPORT void glFlush()
{
    static const auto real = next<void (*)()>("glFlush");
    tell("flush");
    real();
}

extern "C" TOV_EXPORT int madvise(void* address, std::size_t bytes, int advice) noexcept
{
    static const auto real = next<int (*)(void*, std::size_t, int)>("madvise");
    if (const auto callback = onMadvise.load())
        callback();
    return real(address, bytes, advice);
}

void tov::scene::SharedContext::lock()
{
    static const auto real = next<void (*)(SharedContext*)>("_ZN3tov5scene13SharedContext4lockEv");
    if (onCaptureThread())
        tell("lock context");
    real(this);
}

void tov::scene::SharedContext::unlock()
{
    static const auto real = next<void (*)(SharedContext*)>("_ZN3tov5scene13SharedContext6unlockEv");
    if (onCaptureThread())
        tell("unlock context");
    real(this);
}

void tov::scene::Scene::lock()
{
    static const auto real = next<void (*)(Scene*)>("_ZN3tov5scene5Scene4lockEv");
    if (onCaptureThread())
        tell("lock scene");
    real(this);
}

void tov::scene::Scene::unlock()
{
    static const auto real = next<void (*)(Scene*)>("_ZN3tov5scene5Scene6unlockEv");
    if (onCaptureThread())
        tell("unlock scene");
    real(this);
}

int QTime::restart()
{
    static const auto real = next<int (*)(QTime*)>("_ZN5QTime7restartEv");
    const auto callback = onRestart.load();
    return callback && onCaptureThread() ? callback() : real(this);
}

bool QOpenGLContext::create()
{
    static const auto real = next<bool (*)(QOpenGLContext*)>("_ZN14QOpenGLContext6createEv");
    tell("create");
    return !contextCreateFails && real(this);
}

bool QOpenGLContext::makeCurrent(QSurface* surface)
{
    static const auto real = next<bool (*)(QOpenGLContext*, QSurface*)>("_ZN14QOpenGLContext11makeCurrentEP8QSurface");
    switch (makeCurrentFails.load()) {
    case Where::Application:
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            return false;
        break;
    case Where::Capture:
        if (onCaptureThread())
            return false;
        break;
    case Where::Nowhere:
        break;
    }
    static std::atomic<QOpenGLContext*> captured{nullptr};
    if (onCaptureThread())
        captured = this;
    const bool isCurrent = real(this, surface);
    if (isCurrent && QThread::currentThread() == QCoreApplication::instance()->thread() && captured == this) {
        captured = nullptr;
        ++contextsBroughtBack;
    }
    return isCurrent;
}

bool QOpenGLFramebufferObject::bind()
{
    static const auto real = next<bool (*)(QOpenGLFramebufferObject*)>("_ZN24QOpenGLFramebufferObject4bindEv");
    tell("bind");
    if (onCaptureThread() && takeOne(bindsToFail))
        return false;
    return real(this);
}

QImage QOpenGLFramebufferObject::toImage() const
{
    static const auto real =
        next<QImage (*)(const QOpenGLFramebufferObject*)>("_ZNK24QOpenGLFramebufferObject7toImageEv");
    tell("toImage");
    if (onCaptureThread() && takeOne(readBacksToFail))
        return QImage();
    return real(this);
}

bool QOpenGLFramebufferObject::hasOpenGLFramebufferObjects()
{
    static const auto real = next<bool (*)()>("_ZN24QOpenGLFramebufferObject27hasOpenGLFramebufferObjectsEv");
    return !framebuffersMissing && real();
}

bool QBuffer::open(OpenMode mode)
{
    static const auto real = next<bool (*)(QBuffer*, OpenMode)>("_ZN7QBuffer4openE6QFlagsIN9QIODevice12OpenModeFlagEE");
    if (onCaptureThread()) {
        ++bufferOpens;
        tell("open");
        if (bufferOpenFails)
            return false;
    }
    return real(this, mode);
}

qint64 QIODevice::write(const char* data, qint64 size)
{
    static const auto real = next<qint64 (*)(QIODevice*, const char*, qint64)>("_ZN9QIODevice5writeEPKcx");
    if ((writesWithoutMemory > 0 || shortWrite > 0) && onCaptureThread()) {
        if (takeOne(writesWithoutMemory))
            throw std::bad_alloc();
        if (shortWrite > 0)
            size = qMin(size, qint64(shortWrite));
    }
    return real(this, data, size);
}

void QThread::msleep(unsigned long milliseconds)
{
    static const auto real = next<void (*)(unsigned long)>("_ZN7QThread6msleepEm");
    if (onCaptureThread()) {
        tell("msleep");
        if (const auto callback = onSleep.load())
            return callback(milliseconds);
    }
    real(milliseconds);
}

#ifndef __SANITIZE_THREAD__ // The sanitizer has its own definitions.
namespace {

thread_local bool refusesThread = false;

} // namespace

extern "C" TOV_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                                         void* argument)
{
    typedef int (*Create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = next<Create>("pthread_create");
    return refusesThread ? EAGAIN : real(thread, attributes, start, argument);
}

void QThread::start(Priority priority)
{
    static const auto real = next<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    const char* const refused = refusedThread;
    refusesThread = refused && (*refused ? objectName().endsWith(QLatin1String(refused)) : objectName().isEmpty());
    real(this, priority);
    refusesThread = false;
    if (const auto callback = onStarted.load())
        callback();
}
#endif
