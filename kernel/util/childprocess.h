#pragma once

#include <QProcess>

namespace tov::util {

/// A QProcess that is safe where no process is to be had. Qt 5.15 makes its own kind with a call of which it overlooks
/// the failure: it goes on with the process number -1, and ending or destroying the object then ends every process of
/// the user. Derived classes are made by plain fork, which it does look at. Use it as QProcess; `errorOccurred` tells a
/// failed start. Thread: as QProcess.
class ChildProcess : public QProcess
{
public:
    using QProcess::QProcess;

protected:
    void setupChildProcess() override {}
};

} // namespace tov::util
