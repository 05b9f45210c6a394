#pragma once

#include <utility>
#include <vector>

namespace tov::plugins::video {

/// One file format: how it is registered, and how FFmpeg writes it.
struct Format
{
    const char* extension = nullptr;   ///< complete suffix, lower case, no leading dot
    const char* description = nullptr; ///< for the save dialog
    const char* muxer = nullptr;       ///< FFmpeg's name
    const char* codec = nullptr;       ///< FFmpeg's encoder name
    const char* pixelFormat = nullptr; ///< FFmpeg's name
    bool alpha = false;                ///< stores straight alpha; otherwise alpha is ignored
    bool rateControlled = false;       ///< uses the bit rate setting
    bool indexed = false;              ///< fragments that become one indexed file at the end (mp4, mov)
    bool streamed = false;             ///< written once from start to end, so that it can go through a pipe
    const char* filter = nullptr;      ///< filter graph between frames and encoder, or null
    std::vector<std::pair<const char*, const char*>> codecOptions = {};
    std::vector<std::pair<const char*, const char*>> muxerOptions = {};
    int highestFps = 0; ///< faster recordings lose frames, so that they play at the right speed; 0 = any rate
    /// Codec option for the number of look-ahead frames, and their maximum. These frames are lost when the program is
    /// killed, so the coder never looks ahead more than half a second. Null: the codec's own choice.
    const char* lookahead = nullptr;
    int highestLookahead = 0;
};

/// All formats that are written with FFmpeg. Thread: any.
const std::vector<Format>& formats();

} // namespace tov::plugins::video
