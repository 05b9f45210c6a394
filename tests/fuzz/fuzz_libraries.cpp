// The look at libraries before they are loaded.

#include "kernel/util/libraryfile.h"

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static const QString name = QStringLiteral("/dev/shm/tov-fuzz-%1.so").arg(getpid());
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(reinterpret_cast<const char*>(data), qint64(size)) < 0)
        return 0;
    file.close();
    tov::util::elfDefectOf(name);
    QFile::remove(name);
    return 0;
}
