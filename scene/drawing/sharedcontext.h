#pragma once

#include "kernel/main/export.h"

#include <functional>
#include <memory>

class QOffscreenSurface;
class QOpenGLContext;

namespace tov::scene {

/// The OpenGL context with which every other context of the application shares its objects (buffers, textures; by the
/// standard not framebuffer objects), and the lock that orders its users.
class TOV_EXPORT SharedContext
{
public:
    /// The context; null when OpenGL cannot be used. It has the default surface format of the process. Owned here.
    /// Thread: any; it is never current for long.
    QOpenGLContext* glContext() const;
    /// Orders drawing of several threads. Fair, not recursive; taken before `Scene::lock`. Thread: any.
    void lock();
    /// Releases the lock. Thread: the one that holds it.
    void unlock();

    /// Takes over the context and the surface on which it can be made current. Thread: application.
    void adopt(std::unique_ptr<QOpenGLContext> context, std::unique_ptr<QOffscreenSurface> surface);
    /// Destroys the context, after calling `last` with the context current. Thread: application.
    void destroy(const std::function<void()>& last);

    SharedContext();
    ~SharedContext();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// The application's shared context; the object always exists, its `glContext` from `Viewer::initialize` on.
/// Thread: any.
TOV_EXPORT SharedContext* _GlobalContext();

} // namespace tov::scene
