#include "kernel/util/elffile.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>

#include <cstring>

#include <elf.h>

namespace tov::util {

namespace {

bool fits(quint64 offset, quint64 size, quint64 fileSize)
{
    return offset <= fileSize && size <= fileSize - offset;
}

} // namespace

QString findElfProblem(QIODevice& file)
{
    const quint64 size = quint64(file.size());
    Elf64_Ehdr header;
    if (file.read(reinterpret_cast<char*>(&header), sizeof header) != qint64(sizeof header))
        return QStringLiteral("file too short");
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        return QStringLiteral("invalid ELF header");
    if (header.e_type != ET_DYN || header.e_phentsize != sizeof(Elf64_Phdr))
        return QStringLiteral("not a shared library");
    const QString truncated = QStringLiteral("file is truncated");
    if (!fits(header.e_phoff, quint64(header.e_phnum) * sizeof(Elf64_Phdr), size) || !file.seek(qint64(header.e_phoff)))
        return truncated;
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        if (file.read(reinterpret_cast<char*>(&segment), sizeof segment) != qint64(sizeof segment))
            return truncated;
        if (segment.p_filesz > 0 && !fits(segment.p_offset, segment.p_filesz, size))
            return truncated;
    }
    // The section table is at the end of the file. Without it the file is truncated, even if all segments are complete.
    if (header.e_shnum > 0 && !fits(header.e_shoff, quint64(header.e_shnum) * header.e_shentsize, size))
        return truncated;
    return QString();
}

QString findElfProblem(const QString& fileName)
{
    if (!QFileInfo(fileName).isFile())
        return QStringLiteral("not a regular file");
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? findElfProblem(file) : file.errorString();
}

} // namespace tov::util
