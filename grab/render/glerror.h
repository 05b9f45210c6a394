#pragma once

#include <GL/gl.h>

namespace tov::grab::render {

/// Takes all pending OpenGL errors of the current context. Returns true if one of them means that the picture is not
/// what should have been drawn: out of memory, incomplete framebuffer object, lost context. Other errors, which drivers
/// may leave after any call, say nothing about the picture. Thread: the one on which the context is current.
inline bool takeFatalGlError()
{
    constexpr GLenum FramebufferIncomplete = 0x0506, ContextLost = 0x0507;
    // There is one flag per kind of error, but a lost context may report its loss forever.
    constexpr int MaxErrors = 16;
    bool isFatal = false;
    for (int i = 0; i < MaxErrors; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR)
            break;
        isFatal = isFatal || error == GL_OUT_OF_MEMORY || error == FramebufferIncomplete || error == ContextLost;
    }
    return isFatal;
}

/// Drops all pending OpenGL errors of the current context. Thread: the one on which the context is current.
inline void clearGlErrors()
{
    takeFatalGlError();
}

} // namespace tov::grab::render
