#include "scene/drawing/multisampler.h"

#include "scene/drawing/scenedrawer.h"

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>

#ifndef GL_RGBA8
#define GL_RGBA8 0x8058
#endif
#ifndef GL_DRAW_FRAMEBUFFER_BINDING
#define GL_DRAW_FRAMEBUFFER_BINDING 0x8CA6
#define GL_READ_FRAMEBUFFER 0x8CA8
#define GL_DRAW_FRAMEBUFFER 0x8CA9
#endif

namespace tov::scene {

namespace {

void blit(unsigned int from, unsigned int to, const int (&area)[4], unsigned int mask)
{
    QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    const int right = area[0] + area[2], top = area[1] + area[3];
    gl->glBlitFramebuffer(area[0], area[1], right, top, area[0], area[1], right, top, mask, GL_NEAREST);
}

} // namespace

Multisampler::Multisampler()
{
    const int samples = SceneDrawer::getMultisampling();
    if (samples == 0)
        return;
    QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
    gl->glGetIntegerv(GL_VIEWPORT, m_Viewport);
    GLint bound = 0;
    gl->glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    m_Target = unsigned(bound);
    QOpenGLFramebufferObjectFormat format;
    format.setAttachment(QOpenGLFramebufferObject::CombinedDepthStencil);
    format.setInternalTextureFormat(GL_RGBA8);
    format.setSamples(samples);
    auto buffer = std::make_unique<QOpenGLFramebufferObject>(m_Viewport[0] + m_Viewport[2],
                                                             m_Viewport[1] + m_Viewport[3], format);
    if (!buffer->isValid() || buffer->format().samples() == 0) {
        gl->glBindFramebuffer(GL_FRAMEBUFFER, m_Target);
        return;
    }
    mp_Buffer = std::move(buffer);
    // Only the colour is taken over: pictures start from an empty depth buffer.
    blit(m_Target, mp_Buffer->handle(), m_Viewport, GL_COLOR_BUFFER_BIT);
    gl->glBindFramebuffer(GL_FRAMEBUFFER, mp_Buffer->handle());
    gl->glClear(GL_DEPTH_BUFFER_BIT);
}

Multisampler::~Multisampler()
{
    if (!mp_Buffer)
        return;
    blit(mp_Buffer->handle(), m_Target, m_Viewport, GL_COLOR_BUFFER_BIT);
    QOpenGLContext::currentContext()->extraFunctions()->glBindFramebuffer(GL_FRAMEBUFFER, m_Target);
}

} // namespace tov::scene
