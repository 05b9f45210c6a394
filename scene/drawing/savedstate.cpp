#include "scene/drawing/savedstate.h"

#include "scene/drawing/shadersource.h"

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

#include <GL/gl.h>
#include <GL/glext.h>

namespace tov::scene {

SavedState::SavedState()
{
    static_assert(Units == UnitCount);
    auto* gl = QOpenGLContext::currentContext()->extraFunctions();
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    gl->glGetIntegerv(GL_MATRIX_MODE, &m_MatrixMode);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    gl->glGetIntegerv(GL_CURRENT_PROGRAM, &m_Program);
    gl->glGetIntegerv(GL_UNIFORM_BUFFER_BINDING, &m_UniformBuffer);
    for (unsigned int i = 0; i < Blocks; ++i) {
        GLint64 offset = 0, size = 0;
        gl->glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, i, &m_BlockBuffers[i]);
        gl->glGetInteger64i_v(GL_UNIFORM_BUFFER_START, i, &offset);
        gl->glGetInteger64i_v(GL_UNIFORM_BUFFER_SIZE, i, &size);
        m_BlockOffsets[i] = offset;
        m_BlockSizes[i] = size;
    }
    for (int unit = 0; unit < Units; ++unit) {
        gl->glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        gl->glGetIntegerv(GL_SAMPLER_BINDING, &m_Samplers[unit]);
    }
}

SavedState::~SavedState()
{
    auto* gl = QOpenGLContext::currentContext()->extraFunctions();
    for (unsigned int unit = 0; unit < Units; ++unit)
        gl->glBindSampler(unit, GLuint(m_Samplers[unit]));
    for (unsigned int i = 0; i < Blocks; ++i) {
        if (m_BlockSizes[i] > 0)
            gl->glBindBufferRange(GL_UNIFORM_BUFFER, i, GLuint(m_BlockBuffers[i]), GLintptr(m_BlockOffsets[i]),
                                  GLsizeiptr(m_BlockSizes[i]));
        else
            gl->glBindBufferBase(GL_UNIFORM_BUFFER, i, GLuint(m_BlockBuffers[i]));
    }
    gl->glBindBuffer(GL_UNIFORM_BUFFER, GLuint(m_UniformBuffer));
    gl->glUseProgram(GLuint(m_Program));
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glMatrixMode(GLenum(m_MatrixMode));
    glPopClientAttrib();
    glPopAttrib();
}

} // namespace tov::scene
