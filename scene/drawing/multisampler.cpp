#include "scene/drawing/multisampler.h"

#include "kernel/log/logger.h"
#include "scene/drawing/drawbuffers.h"

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <atomic>

namespace tov::scene {

namespace {

constexpr char SourceFile[] = "scene/drawing/multisampler";

QOpenGLExtraFunctions* functions()
{
    return QOpenGLContext::currentContext()->extraFunctions();
}

void blit(unsigned int from, unsigned int to, const DrawingArea& area)
{
    auto* gl = functions();
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    for (const auto& band : area.bands) {
        const int right = band[0] + band[2], top = band[1] + band[3];
        gl->glBlitFramebuffer(band[0], band[1], right, top, band[0], band[1], right, top, GL_COLOR_BUFFER_BIT,
                              GL_NEAREST);
    }
}

void clearErrors()
{
    // A lost context reports errors forever.
    for (int i = 0; i < 100 && functions()->glGetError() != GL_NO_ERROR; ++i) {
    }
}

void leave(SampleBuffer& buffer)
{
    GeometryElement::Buffers::abandonRenderbuffer(buffer.group, buffer.color);
    GeometryElement::Buffers::abandonRenderbuffer(buffer.group, buffer.depth);
    const auto* context = QOpenGLContext::currentContext();
    if (context && context == buffer.context && buffer.framebuffer != 0)
        functions()->glDeleteFramebuffers(1, &buffer.framebuffer);
    buffer.color = buffer.depth = buffer.framebuffer = 0;
    buffer.context = nullptr;
}

unsigned int renderbuffer(GLenum format, int samples, int width, int height)
{
    auto* gl = functions();
    unsigned int name = 0;
    gl->glGenRenderbuffers(1, &name);
    gl->glBindRenderbuffer(GL_RENDERBUFFER, name);
    gl->glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    return name;
}

/// Makes the buffer, at least as large as before, and leaves it bound. False when OpenGL refuses.
bool make(SampleBuffer& buffer, int samples, int width, int height)
{
    leave(buffer);
    auto* gl = functions();
    GLint bound = 0, most = 0;
    gl->glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
    gl->glGetIntegerv(GL_MAX_SAMPLES, &most);
    buffer.context = QOpenGLContext::currentContext();
    buffer.group = QOpenGLContext::currentContext()->shareGroup();
    buffer.width = width;
    buffer.height = height;
    buffer.samples = samples;
    buffer.color = renderbuffer(GL_RGBA8, std::min(samples, most), width, height);
    buffer.depth = renderbuffer(GL_DEPTH24_STENCIL8, std::min(samples, most), width, height);
    gl->glBindRenderbuffer(GL_RENDERBUFFER, GLuint(bound));
    gl->glGenFramebuffers(1, &buffer.framebuffer);
    gl->glBindFramebuffer(GL_FRAMEBUFFER, buffer.framebuffer);
    gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffer.color);
    gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, buffer.depth);
    return most >= 2 && gl->glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void logRefusal(int samples)
{
    static std::atomic<bool> isLogged{false};
    if (!isLogged.exchange(true))
        tov::log::Logger::log(tov::log::LevelInformation, SourceFile, __LINE__, __func__, nullptr,
                              "the OpenGL driver has no buffer with %d samples; edges are not smooth", samples);
}

} // namespace

SampleBuffer::~SampleBuffer()
{
    GeometryElement::Buffers::abandonRenderbuffer(group, color);
    GeometryElement::Buffers::abandonRenderbuffer(group, depth);
}

Multisampler::Multisampler(SampleBuffer& buffer, int samples, const DrawingArea& area) : m_Buffer(buffer), m_Area(area)
{
    const auto& bounds = area.bounds;
    if (samples < 2 || area.bands.empty())
        return;
    auto* gl = functions();
    GLint bound = 0;
    gl->glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    m_Target = unsigned(bound);
    const int width = bounds[0] + bounds[2], height = bounds[1] + bounds[3];
    const bool isReusable = buffer.framebuffer != 0 && buffer.context == QOpenGLContext::currentContext() &&
                            buffer.samples == samples && buffer.width >= width && buffer.height >= height;
    if (!isReusable && !make(buffer, samples, std::max(width, buffer.width), std::max(height, buffer.height))) {
        leave(buffer);
        buffer.width = buffer.height = 0;
        clearErrors();
        gl->glBindFramebuffer(GL_FRAMEBUFFER, m_Target);
        logRefusal(samples);
        return;
    }
    m_IsActive = true;
    // Only the colour is copied: pictures start from an empty depth buffer.
    blit(m_Target, buffer.framebuffer, area);
    gl->glBindFramebuffer(GL_FRAMEBUFFER, buffer.framebuffer);
    gl->glScissor(bounds[0], bounds[1], bounds[2], bounds[3]);
    gl->glEnable(GL_SCISSOR_TEST);
    gl->glDepthMask(GL_TRUE);
    gl->glClear(GL_DEPTH_BUFFER_BIT);
}

Multisampler::~Multisampler()
{
    if (!m_IsActive)
        return;
    // Blits obey the scissor, which is still the area.
    functions()->glDisable(GL_SCISSOR_TEST);
    blit(m_Buffer.framebuffer, m_Target, m_Area);
    functions()->glBindFramebuffer(GL_FRAMEBUFFER, m_Target);
}

} // namespace tov::scene
