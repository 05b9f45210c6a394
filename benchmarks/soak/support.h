#pragma once

#include "kernel/commands/commandrun.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>

namespace tov::gui {
class ScenePanel;
}
namespace tov::scene {
class GeometryElement;
}

/// What the load tests share. Thread of all: application.
namespace tov::soak {

constexpr double Mb = 1e6;
constexpr int KeptBytes = 16; ///< per frame in the file of the slow encoder

/// Prints the result of a check, and counts it.
void expect(bool passed, const QString& what);
/// Prints how many checks of a part passed; true when all did.
bool summarise(const char* part);

/// A memory figure of this process in bytes, by its name in /proc/self/status.
qint64 statusBytes(const char* field);
/// The resident memory of this process in bytes.
qint64 residentBytes();
/// Resets `VmHWM`, the peak of the resident memory.
void resetPeak();

/// The names of everything in a folder.
QStringList entryNames(const QString& folder);
/// Checks that the folder is empty.
void expectNoTemporaryFiles(const QString& folder);

/// Runs the event loop until `done`; false when the time limit is reached.
bool processUntil(const std::function<bool()>& done, int limitMs);
/// A hidden panel that is the active one.
tov::gui::ScenePanel* newPanel(int width, int height);
/// Selects a trajectory of that many points and goes to the first one.
void selectWalk(unsigned long count);
/// Starts a command text; null, with a message, when that fails.
tov::main::CommandRunPointer start(const QString& text);
/// Starts a recording of the active panel.
tov::main::CommandRunPointer startVideo(const QString& file, int width, int height, bool synced);
/// Sets the size of chunks, and whether they are in memory.
void setChunks(int megabytes, bool memory);

/// A wavy sheet of at least that many triangles, or a sphere of that many points. The caller owns it.
tov::scene::GeometryElement* largeElement(std::size_t count, bool points);
/// Makes the element the only one of the global scene, which takes it over.
void setScene(tov::scene::GeometryElement* element);

/// The number of frames in a recorded file, by its size (raw) or by ffprobe; -1 = not readable.
qint64 framesIn(const QString& name, int width, int height);
/// Checks the number of frames in a recorded file.
void expectFrames(const QString& name, int width, int height, int frames);

} // namespace tov::soak
