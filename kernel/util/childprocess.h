#pragma once

#include <QProcess>

namespace tov::util {

/// A QProcess that is safe when the system can create no process. Qt 5.15 starts a plain QProcess with a call whose
/// failure it does not check: it continues with the process number -1, and ending or destroying the object then ends
/// every process of the user. For derived classes it uses fork() and checks the result. Use it like QProcess; a failed
/// start is reported by `errorOccurred`. Thread: as QProcess.
class ChildProcess : public QProcess
{
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override {}
};

} // namespace tov::util
