#include "grab/render/offscreentarget.h"

#include "grab/render/applicationthread.h"
#include "scene/drawing/sharedcontext.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QThread>

#include <GL/gl.h>

namespace tov::grab::render {

SharedFormat sharedFormat()
{
    QOpenGLContext* shared = tov::scene::_GlobalContext()->glContext();
    return {shared, shared ? shared->format() : QSurfaceFormat()};
}

QOpenGLContext* newContext(QOpenGLContext* shared)
{
    auto* context = new QOpenGLContext;
    context->setShareContext(shared);
    return context;
}

QOffscreenSurface* newSurface(const QSurfaceFormat& format)
{
    auto* surface = new QOffscreenSurface;
    surface->setFormat(format);
    surface->create();
    return surface;
}

QOpenGLFramebufferObject* newFramebuffer(int width, int height)
{
    return new QOpenGLFramebufferObject(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                        GL_RGBA8);
}

OffscreenTarget::OffscreenTarget() = default;

OffscreenTarget::~OffscreenTarget() = default;

bool OffscreenTarget::create()
{
    const SharedFormat shared = sharedFormat();
    QThread* const renderThread = QThread::currentThread();
    onApplicationThread([&] {
        m_Context.reset(newContext(shared.context));
        if (!m_Context->create()) {
            m_Context.reset();
            return;
        }
        m_Context->moveToThread(renderThread);
        m_Surface.reset(newSurface(shared.format));
        m_Surface->moveToThread(renderThread);
    });
    return m_Context && m_Surface;
}

bool OffscreenTarget::makeCurrent()
{
    if (m_Context->makeCurrent(m_Surface.get()))
        return true;
    m_Surface->destroy();
    return false;
}

QOpenGLFramebufferObject& OffscreenTarget::framebuffer(int width, int height)
{
    if (!m_Framebuffer || width != m_Width || height != m_Height) {
        m_Framebuffer.reset();
        m_Framebuffer.reset(newFramebuffer(width, height));
        m_Width = width;
        m_Height = height;
    }
    return *m_Framebuffer;
}

void OffscreenTarget::deleteFramebuffer()
{
    m_Framebuffer.reset();
}

void OffscreenTarget::release()
{
    m_Context->doneCurrent();
    m_Surface->destroy();
}

} // namespace tov::grab::render
