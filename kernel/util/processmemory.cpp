#include "kernel/util/processmemory.h"

#include <QFile>

#include <malloc.h>

namespace tov::util {

qint64 processMemory()
{
    constexpr qint64 BytesPerKb = 1024;
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray key("RssAnon:");
    const QByteArray text = status.readAll();
    const int at = text.indexOf(key);
    return at < 0 ? 0 : text.mid(at + key.size()).trimmed().split(' ').first().toLongLong() * BytesPerKb;
}

qint64 allocatedMemory()
{
    const struct mallinfo2 info = mallinfo2();
    const auto bytes = qint64(info.uordblks + info.hblkhd);
    return bytes > 0 ? bytes : processMemory();
}

} // namespace tov::util
