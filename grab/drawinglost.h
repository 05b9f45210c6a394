#pragma once

#include <GL/gl.h>

namespace tov::grab {

/// Takes OpenGL's pending errors of the current context, and tells whether one of them means that a picture is not what
/// should have been drawn: memory ran out, the framebuffer object is not complete, the context was lost. Others, which
/// drivers may leave behind after any call, tell nothing about the picture. Thread: whichever the context is current
/// on.
inline bool isDrawingLost()
{
    constexpr GLenum FramebufferIncomplete = 0x0506, ContextLost = 0x0507;
    bool lost = false;
    // A lost context may report for ever.
    for (int i = 0; i < 16; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR)
            break;
        lost = lost || error == GL_OUT_OF_MEMORY || error == FramebufferIncomplete || error == ContextLost;
    }
    return lost;
}

} // namespace tov::grab
