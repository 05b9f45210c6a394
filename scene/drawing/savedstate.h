#pragma once

namespace tov::scene {

/// Saves the OpenGL state that drawing changes, and restores it at the end. Framebuffers are the `Multisampler`'s.
/// Thread: the current context's.
class SavedState
{
public:
    SavedState();
    SavedState(const SavedState&) = delete;
    SavedState& operator=(const SavedState&) = delete;
    ~SavedState();

private:
    static constexpr int Units = 6;
    static constexpr int Blocks = 2;
    int m_Program = 0;
    int m_UniformBuffer = 0;
    int m_BlockBuffers[Blocks] = {};
    long long m_BlockOffsets[Blocks] = {};
    long long m_BlockSizes[Blocks] = {};
    int m_Samplers[Units] = {};
    int m_MatrixMode = 0;
};

} // namespace tov::scene
