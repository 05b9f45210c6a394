#include "kernel/util/processmemory.h"

#include <QFile>

#include <algorithm>
#include <malloc.h>

namespace tov::util {

qint64 kilobyteValue(const QString& fileName, const QByteArray& key)
{
    constexpr qint64 BytesPerKb = 1024;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').first().toLongLong() * BytesPerKb;
    return -1;
}

qint64 processMemory()
{
    return std::max<qint64>(0, kilobyteValue(QStringLiteral("/proc/self/status"), "RssAnon:"));
}

qint64 allocatedMemory()
{
    const struct mallinfo2 info = mallinfo2();
    const auto bytes = qint64(info.uordblks) + qint64(info.hblkhd);
    return bytes > 0 ? bytes : processMemory();
}

} // namespace tov::util
