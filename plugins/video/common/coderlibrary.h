#pragma once

#include "plugins/video/common/coder.h"
#include "plugins/video/common/format.h"

#include <QStringList>

namespace tov::plugins::video {

/// What the library of coders offers: this structure, under a name whose number changes whenever it or what it refers
/// to does, so that a program that is replaced while it runs does not take up with the library of another version.
constexpr char CoderFunctionsName[] = "tovCoderFunctions2";
struct CoderFunctions
{
    Coder* (*createFFmpegCoder)(const Format& format); ///< the caller owns it; `format` outlives it
    Coder* (*createFramesCoder)();                     ///< the caller owns it
    /// Extensions of the formats that the FFmpeg libraries of this machine can make.
    QStringList (*availableFormats)();
    /// The files of those FFmpeg libraries that this depends on.
    QStringList (*libraryFiles)();
    /// What a video file says of itself: 1, and the frames in it and its length in seconds (0 = unknown); 0: it cannot
    /// be read as a video; -1: it cannot be told: `stop` became true, or there is no time or memory.
    int (*probeVideo)(const char* fileName, const bool* stop, long long* frames, double* seconds);
    /// Gives a finished file other times, and joins files; see docs/encoder-plugins.md. 1: done; 0: it failed, the log
    /// says why.
    int (*retimeVideo)(const char* fileName, const bool* stop, const double* starts, long long count, double seconds);
    int (*joinVideos)(const char* const* parts, const long long* counts, int partCount, const char* output,
                      const bool* stop);
};

/// The coders, loaded when they are asked for first: FFmpeg brings some 180 libraries along, which take time and memory
/// that a program without a recording does without. They stay for the life of the process, since some of them lose
/// memory or threads when they are unloaded. Null when they cannot be loaded now, and `error`, unless null, says why.
/// Thread: any.
const CoderFunctions* coderFunctions(QString* error = nullptr);
/// The file of that library.
QString coderLibraryFile();
/// Says so in the log.
void logUnloaded(const QString& error);

/// The formats that this machine can make, by extension. Remembered between runs for as long as the libraries stay as
/// they are, so that the coders need not be loaded to know. Where they cannot be loaded there is none; `tell`: it is
/// said in the log, which is for one to do. Thread: application.
QStringList availableFormats(bool tell = false);

} // namespace tov::plugins::video
