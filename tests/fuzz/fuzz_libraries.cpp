// The look at libraries before they are loaded.

#include "kernel/util/libraryfile.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer file(&bytes);
    // Not kept by the buffer of a device: every byte beyond the end is seen to be read.
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    tov::util::elfDefectOf(file);
    return 0;
}
