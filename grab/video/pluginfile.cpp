#include "grab/video/pluginfile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

#include <cstring>

#include <elf.h>

namespace tov::grab::video {

namespace {

/// Reads one structure at a position of the file. False at the end of the file.
template <typename Structure>
bool readAt(QIODevice& file, quint64 position, Structure& structure)
{
    return file.seek(qint64(position)) &&
           file.read(reinterpret_cast<char*>(&structure), sizeof structure) == qint64(sizeof structure);
}

bool isInside(const QIODevice& file, quint64 position, quint64 size)
{
    const quint64 end = quint64(file.size());
    return position <= end && size <= end - position;
}

} // namespace

QString findIncompletePart(QIODevice& file)
{
    Elf64_Ehdr header;
    if (!readAt(file, 0, header))
        return QStringLiteral("file too short");
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        return QStringLiteral("invalid ELF header");
    if (header.e_type != ET_DYN || header.e_phentsize != sizeof(Elf64_Phdr))
        return QStringLiteral("not a shared library");
    // The section table is at the end of the file, so any truncation affects it.
    bool complete =
        (header.e_shnum == 0 || isInside(file, header.e_shoff, quint64(header.e_shnum) * header.e_shentsize)) &&
        isInside(file, header.e_phoff, quint64(header.e_phnum) * sizeof(Elf64_Phdr));
    for (quint64 i = 0; complete && i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        complete = readAt(file, header.e_phoff + i * sizeof segment, segment) &&
                   (segment.p_filesz == 0 || isInside(file, segment.p_offset, segment.p_filesz));
    }
    return complete ? QString() : QStringLiteral("file is truncated");
}

QString findPluginProblem(const QFileInfo& plugin)
{
    if (!plugin.isFile())
        return QStringLiteral("not a regular file");
    QFile file(plugin.absoluteFilePath());
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    QString problem = findIncompletePart(file);
    if (!problem.isEmpty())
        return problem;
    return QCoreApplication::instance()->property(RefusedPlugins).toMap().value(plugin.canonicalFilePath()).toString();
}

} // namespace tov::grab::video
