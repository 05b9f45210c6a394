#include "kernel/commands/commandthread.h"

#include "kernel/commands/command.h"
#include "kernel/log/logger.h"

#include <QThread>

#include <sys/syscall.h>
#include <unistd.h>

namespace tov::main {

void logCommandFailure(const QString& commandName, const QString& reason)
{
    tov::log::Logger::log(tov::log::LevelError, "main/commandprocessor", __LINE__, "execute", nullptr,
                          QStringLiteral("The command %1 failed: %2").arg(commandName, reason));
}

bool executeCommand(Command* command)
{
    try {
        command->execute();
        return true;
    } catch (const std::exception& e) {
        logCommandFailure(command->getDescriptor()->getName(), QString::fromLocal8Bit(e.what()));
    } catch (...) {
        logCommandFailure(command->getDescriptor()->getName(), QStringLiteral("unknown exception"));
    }
    return false;
}

bool startThread(QThread* thread)
{
    thread->start();
    return thread->isRunning() || thread->isFinished();
}

void joinAndDelete(QThread* thread, pid_t id)
{
    thread->wait();
    delete thread;
    for (int i = 0; i < 2000 && id > 0 && syscall(SYS_tgkill, getpid(), id, 0) == 0; ++i)
        QThread::usleep(1000);
}

} // namespace tov::main
