#pragma once

#include <QString>

namespace tov::app {

/// The file that a symbolic link leads to, whether it exists or not; `fileName` itself if it is not a link.
/// Thread: any.
QString linkTarget(const QString& fileName);

/// True for a named pipe, or a link to one. Thread: any.
bool isNamedPipe(const QString& fileName);

/// True while the name belongs to the open file: the file was neither removed nor replaced. Thread: any.
bool isNameOf(const QString& fileName, int descriptor);

/// Opens a named pipe for writing. Returns its file descriptor, which the caller closes; -1 with one line in `error`
/// when nobody reads from it. Never waits for a reader. Thread: any.
int openPipe(const QString& fileName, QString* error);

/// True when a file of that name can be written; otherwise `error` says why not, in one line. Named pipes pass: a
/// missing reader is detected when the pipe is opened. Thread: any.
bool checkOutputFolder(const QString& fileName, QString* error);

} // namespace tov::app
