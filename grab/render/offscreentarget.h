#pragma once

#include <QSurfaceFormat>

#include <memory>

class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLFramebufferObject;

namespace tov::grab::render {

/// The host's shared context, null if there is none, and the format of surfaces that fit it.
struct SharedFormat
{
    QOpenGLContext* context;
    QSurfaceFormat format;
};

/// Queries the host's shared context. Thread: any.
SharedFormat sharedFormat();
/// A new context that will share objects with `shared`; it still has to be created. The caller owns it.
/// Thread: application.
QOpenGLContext* newContext(QOpenGLContext* shared);
/// A new, created surface of that format. The caller owns it. Thread: application.
QOffscreenSurface* newSurface(const QSurfaceFormat& format);
/// A new framebuffer object with 8 bits per RGBA channel, depth and stencil. Sizes in pixels. The caller owns it.
/// Thread: the one on which a context is current.
QOpenGLFramebufferObject* newFramebuffer(int width, int height);

/// A context, a surface and a framebuffer object to draw a picture with. Thread: the one that calls `create`, for all
/// methods.
class OffscreenTarget
{
public:
    OffscreenTarget();
    /// Deletes whatever is left: framebuffer object, surface, context.
    ~OffscreenTarget();
    OffscreenTarget(const OffscreenTarget&) = delete;
    OffscreenTarget& operator=(const OffscreenTarget&) = delete;

    /// Creates the context and then the surface, on the application thread, and moves both to the calling thread. False
    /// if the context could not be created.
    bool create();
    /// Makes the context current on the surface. On failure destroys the surface and returns false.
    bool makeCurrent();
    /// The framebuffer object of that size, in pixels; a new one is made only when the size changes.
    QOpenGLFramebufferObject& framebuffer(int width, int height);
    /// Deletes the framebuffer object, if there is one. The context must be current.
    void deleteFramebuffer();
    /// Releases the context and destroys the surface. Delete the framebuffer object first.
    void release();

private:
    std::unique_ptr<QOpenGLContext> m_Context;
    std::unique_ptr<QOffscreenSurface> m_Surface;
    std::unique_ptr<QOpenGLFramebufferObject> m_Framebuffer;
    int m_Width = -1;  ///< pixels, of the framebuffer object
    int m_Height = -1; ///< pixels, of the framebuffer object
};

} // namespace tov::grab::render
