// The checks of libraries before they are loaded: the program's, and the module's for encoder plug-ins.

#include "grab/video/pluginfile.h"
#include "kernel/util/elffile.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer file(&bytes);
    // Unbuffered, so that every read beyond the end is detected.
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const bool accepted = tov::util::findElfProblem(file).isEmpty();
    file.seek(0);
    if (tov::grab::video::findIncompletePart(file).isEmpty() != accepted)
        __builtin_trap();
    return 0;
}
