#pragma once

#include <QString>

#include <sys/types.h>

class QThread;

namespace tov::main {

class Command;

/// Logs that a command failed, and why. Thread: any.
void logCommandFailure(const QString& commandName, const QString& reason);

/// Executes a command; false (logged) when an exception left `execute`. Thread: command.
bool executeCommand(Command* command);

/// Starts a thread; false when the system refuses. Qt has then logged the reason, and the object never ran.
/// Thread: any.
bool startThread(QThread* thread);

/// Waits until the system no longer knows the thread of number `id`, then returns; deletes the object.
/// QThread::wait() returns while the thread is still freeing the per-thread data of libraries. The EGL library frees
/// the same data when the process exits, and crashes when both happen at once. Because the system may assign the number
/// again, the wait ends after two seconds. Thread: any but the thread itself.
void joinAndDelete(QThread* thread, pid_t id);

} // namespace tov::main
