// Tells the thread sanitizer how Qt's locks and threads synchronize, which it cannot see because Qt is not
// instrumented. These definitions in the test program replace those of Qt, only in builds with the sanitizer.

#include "tests/support/tsanqt.h"

#if defined(__SANITIZE_THREAD__)

#include <QCoreApplication>
#include <QMutex>
#include <QSemaphore>
#include <QThread>

#include <dlfcn.h>

extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
extern "C" void AnnotateIgnoreReadsBegin(const char* file, int line);
extern "C" void AnnotateIgnoreReadsEnd(const char* file, int line);
extern "C" void AnnotateIgnoreWritesBegin(const char* file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char* file, int line);

#define TOV_VISIBLE __attribute__((visibility("default")))

namespace {

/// Represents the event queue: posting an event releases it, delivering one acquires it.
char eventQueue;

/// Ignores Qt's accesses to its queues, which Qt's own lock guards.
struct IgnoredHere
{
    IgnoredHere()
    {
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~IgnoredHere()
    {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
};

template <typename Function>
Function next(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

TOV_VISIBLE void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto real = next<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    real(this);
    __tsan_acquire(this);
}

TOV_VISIBLE void QMutex::unlock() noexcept
{
    static const auto real = next<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    real(this);
}

TOV_VISIBLE void QSemaphore::acquire(int count)
{
    static const auto real = next<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7acquireEi");
    real(this, count);
    __tsan_acquire(this);
}

TOV_VISIBLE void QSemaphore::release(int count)
{
    static const auto real = next<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    real(this, count);
}

TOV_VISIBLE void QThread::start(Priority priority)
{
    static const auto real = next<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    // The end of a thread happens before the end of a wait for it.
    QObject::connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    __tsan_release(this);
    real(this, priority);
}

TOV_VISIBLE bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto real = next<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool done = real(this, deadline);
    __tsan_acquire(this);
    return done;
}

TOV_VISIBLE bool QThread::isFinished() const
{
    static const auto real = next<bool (*)(const QThread*)>("_ZNK7QThread10isFinishedEv");
    const bool done = real(this);
    __tsan_acquire(const_cast<QThread*>(this));
    return done;
}

TOV_VISIBLE void QCoreApplication::postEvent(QObject* receiver, QEvent* event, int priority)
{
    static const auto real =
        next<void (*)(QObject*, QEvent*, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    __tsan_release(&eventQueue);
    const IgnoredHere ignored;
    real(receiver, event, priority);
}

TOV_VISIBLE bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot,
                                               Qt::ConnectionType type, void* result)
{
    static const auto real = next<bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    __tsan_release(&eventQueue);
    // A direct call runs the project's own code, which is checked.
    if (type != Qt::QueuedConnection)
        return real(object, slot, type, result);
    const IgnoredHere ignored;
    return real(object, slot, type, result);
}

void tov::test::eventReceived()
{
    __tsan_acquire(&eventQueue);
}

#else

void tov::test::eventReceived() {}

#endif
