#pragma once

namespace tov::plugins::video {

/// Keeps the FFmpeg libraries loaded for the life of the process, whatever becomes of the plug-in. Thread: application.
void pinLibraries();

} // namespace tov::plugins::video
