#pragma once

#include <memory>

class QOpenGLFramebufferObject;

namespace tov::scene {

/// While it lives, drawing goes into a multisample buffer that began as a copy of the bound framebuffer; at the end the
/// result is resolved into that framebuffer, which is bound again. Does nothing when multisampling is off or the
/// hardware refuses. Thread: the current context's.
class Multisampler
{
public:
    Multisampler();
    Multisampler(const Multisampler&) = delete;
    Multisampler& operator=(const Multisampler&) = delete;
    ~Multisampler();

    bool isActive() const { return mp_Buffer != nullptr; }

private:
    std::unique_ptr<QOpenGLFramebufferObject> mp_Buffer; ///< null when off
    unsigned int m_Target = 0;
    int m_Viewport[4] = {};
};

} // namespace tov::scene
