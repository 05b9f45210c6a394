// The check of libraries before they are loaded.

#include "kernel/util/elffile.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer file(&bytes);
    // Unbuffered, so that every read beyond the end is detected.
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    tov::util::findElfProblem(file);
    return 0;
}
