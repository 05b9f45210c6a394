#pragma once

#include "plugins/video/common/coder.h"
#include "plugins/video/common/format.h"

#include <QStringList>

namespace tov::plugins::video {

/// The interface of the coder library: this structure, exported under a name whose number changes with the structure
/// and the types in it, so that a program that is replaced while it runs does not use a library of another version.
constexpr char CoderFunctionsName[] = "tovCoderFunctions2";
struct CoderFunctions
{
    Coder* (*createFFmpegCoder)(const Format& format); ///< the caller owns it; `format` outlives it
    Coder* (*createFramesCoder)();                     ///< the caller owns it
    /// Extensions of the formats that the FFmpeg libraries of this machine can make.
    QStringList (*availableFormats)();
    /// The files of the FFmpeg libraries that determine the formats.
    QStringList (*libraryFiles)();
    /// Reads a video file. 1: done, with the number of frames and the length in seconds (0 = unknown); 0: it cannot be
    /// read as a video; -1: unknown, because `stop` became true or there is no time or memory.
    int (*probeVideo)(const char* fileName, const bool* stop, long long* frames, double* seconds);
    /// Changes the times of a finished file, and joins files; see docs/encoder-plugins.md. 1: done; 0: it failed, and
    /// the reason was logged.
    int (*retimeVideo)(const char* fileName, const bool* stop, const double* starts, long long count, double seconds);
    /// Joins files without encoding again; result as for `retimeVideo`.
    int (*joinVideos)(const char* const* parts, const long long* counts, int partCount, const char* output,
                      const bool* stop);
};

/// The coders, loaded on the first call: FFmpeg brings in some 180 libraries, and a program that records nothing saves
/// their time and memory. They stay loaded until the process ends, because some of them leak memory or threads when
/// they are unloaded. Null when they cannot be loaded now; `error`, unless null, then gets the reason. Thread: any.
const CoderFunctions* coderFunctions(QString* error = nullptr);
/// The path of the coder library. Thread: any.
QString coderLibraryFile();
/// Logs that the coders could not be loaded. Thread: any.
void logUnloaded(const QString& error);

/// The formats that this machine can write, by extension. Cached until one of the libraries changes, so that the coders
/// need not be loaded. Empty when they cannot be loaded; with `logFailure` the reason is logged; only one of several
/// plug-ins sets it. Thread: application.
QStringList availableFormats(bool logFailure = false);

} // namespace tov::plugins::video
