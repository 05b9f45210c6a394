#include "scene/drawing/sharedcontext.h"

#include "scene/ticketlock.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>

#include <atomic>

namespace tov::scene {

struct SharedContext::Private
{
    TicketLock order;
    std::atomic<QOpenGLContext*> context{nullptr};
    std::unique_ptr<QOffscreenSurface> surface;
};

SharedContext::SharedContext() : d(new Private) {}
SharedContext::~SharedContext() = default;

QOpenGLContext* SharedContext::glContext() const
{
    return d->context;
}

void SharedContext::lock()
{
    d->order.lock();
}

void SharedContext::unlock()
{
    d->order.unlock();
}

void SharedContext::adopt(std::unique_ptr<QOpenGLContext> context, std::unique_ptr<QOffscreenSurface> surface)
{
    d->surface = std::move(surface);
    d->context = context.release();
}

void SharedContext::destroy(const std::function<void()>& last)
{
    QOpenGLContext* context = d->context;
    if (!context)
        return;
    if (context->makeCurrent(d->surface.get())) {
        last();
        context->doneCurrent();
    }
    d->context = nullptr;
    delete context;
    d->surface.reset();
}

SharedContext* _GlobalContext()
{
    static auto* context = new SharedContext; // never destroyed
    return context;
}

} // namespace tov::scene
