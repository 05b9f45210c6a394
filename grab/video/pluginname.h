#pragma once

#include <QFile>
#include <QFileInfo>
#include <QString>

#include <dlfcn.h>

namespace tov::grab::video {

/// The name of the plug-in whose library holds the address (its file name up to the first dot), empty if there is none.
/// Thread: any.
inline QString pluginNameOf(const void* address)
{
    Dl_info library;
    if (!dladdr(address, &library) || !library.dli_fname)
        return QString();
    return QFileInfo(QFile::decodeName(library.dli_fname)).baseName();
}

} // namespace tov::grab::video
