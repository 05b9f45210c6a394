#include "app/common/encoderplugins.h"

#include "app/common/installlayout.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <dlfcn.h>
#include <link.h>

namespace tov::app {

std::vector<EncoderPlugin> EncoderPlugin::loaded()
{
    QStringList files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* found) {
            static_cast<QStringList*>(found)->append(QFile::decodeName(info->dlpi_name));
            return 0;
        },
        &files);
    const QString folder = QFileInfo(InstallLayout::videoPlugins()).canonicalFilePath();
    std::vector<EncoderPlugin> plugins;
    for (const QString& file : std::as_const(files)) {
        if (folder.isEmpty() || !file.startsWith(QLatin1Char('/')) || QFileInfo(file).canonicalPath() != folder)
            continue;
        if (void* library = dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_NOLOAD))
            plugins.push_back(EncoderPlugin(file, library));
    }
    return plugins;
}

EncoderPlugin::EncoderPlugin(const QString& fileName, void* library) : m_FileName(fileName), m_Library(library, dlclose)
{}

void* EncoderPlugin::symbol(const char* name) const
{
    return dlsym(m_Library.get(), name);
}

} // namespace tov::app
