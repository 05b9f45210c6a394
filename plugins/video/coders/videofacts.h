#pragma once

namespace tov::plugins::video {

/// Reads a video file to its end. 1: done, with the number of frames and the length in seconds (0 = unknown); 0: it
/// cannot be read as a video; -1: it takes longer than two minutes, `stop` became true (reached through
/// std::atomic_ref), or there is no memory. Thread: any.
int probeVideo(const char* fileName, const bool* stop, long long* frames, double* seconds);

} // namespace tov::plugins::video
