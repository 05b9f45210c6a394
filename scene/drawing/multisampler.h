#pragma once

#include "scene/drawing/drawingarea.h"

#include <QOpenGLContext>
#include <QPointer>

namespace tov::scene {

/// The framebuffer with samples of one drawer, kept between frames. Framebuffer names belong to a context, so its
/// context is stored; objects of another one are not touched.
struct SampleBuffer
{
    QPointer<QOpenGLContext> context;    ///< of the framebuffer; null when it no longer exists
    QPointer<QOpenGLContextGroup> group; ///< of the renderbuffers
    int width = 0;
    int height = 0;
    int samples = 0;
    unsigned int framebuffer = 0;
    unsigned int color = 0; ///< renderbuffers
    unsigned int depth = 0;

    SampleBuffer() = default;
    SampleBuffer(const SampleBuffer&) = delete;
    SampleBuffer& operator=(const SampleBuffer&) = delete;
    /// Leaves the renderbuffers to be freed by the next drawing of their share group.
    ~SampleBuffer();
};

/// While it exists, drawing goes into a multisample buffer whose bands (`DrawingArea`) start as a copy of the bound
/// framebuffer; at the end they are resolved into the framebuffer, which is bound again. Pixels outside of the bands
/// are undefined. Does nothing for fewer than two samples, for an empty area, or where OpenGL
/// refuses, which leaves no OpenGL error. Thread: the current context's.
class Multisampler
{
public:
    /// `area` must outlive the object.
    Multisampler(SampleBuffer& buffer, int samples, const DrawingArea& area);
    Multisampler(const Multisampler&) = delete;
    Multisampler& operator=(const Multisampler&) = delete;
    ~Multisampler();

    /// True while drawing goes into the multisample buffer.
    bool isActive() const { return m_IsActive; }

private:
    SampleBuffer& m_Buffer;
    const DrawingArea& m_Area;
    unsigned int m_Target = 0;
    bool m_IsActive = false;
};

} // namespace tov::scene
