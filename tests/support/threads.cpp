#include "tests/support/threads.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sys/syscall.h>
#include <unistd.h>

namespace tov::test {

int threadId()
{
    return int(syscall(SYS_gettid));
}

char threadState(int id)
{
    QFile stat(QStringLiteral("/proc/self/task/%1/stat").arg(id));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray line = stat.readAll();
    return line.at(line.lastIndexOf(')') + 2);
}

long threadSleeps(int id)
{
    QFile status(QStringLiteral("/proc/self/task/%1/status").arg(id));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("voluntary_ctxt_switches:"))
            return line.mid(line.indexOf(':') + 1).trimmed().toLong();
    return -1;
}

} // namespace tov::test
