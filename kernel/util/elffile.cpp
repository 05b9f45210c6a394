#include "kernel/util/elffile.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <optional>

#include <elf.h>

namespace tov::util {

namespace {

/// The other bit of a version hides the symbol.
constexpr int VersionMask = 0x7fff;
/// A damaged file may have more.
constexpr int MostVersions = 100000;

bool fits(quint64 offset, quint64 size, quint64 fileSize)
{
    return offset <= fileSize && size <= fileSize - offset;
}

/// The content of a section; empty when it does not fit into the file.
QByteArray readSection(QIODevice& file, const Elf64_Shdr& section)
{
    return fits(section.sh_offset, section.sh_size, quint64(file.size())) && file.seek(qint64(section.sh_offset))
               ? file.read(qint64(section.sh_size))
               : QByteArray();
}

/// The record of a section at an offset; no value if it does not fit.
template <typename Record>
std::optional<Record> recordAt(const QByteArray& section, quint64 offset)
{
    if (!fits(offset, sizeof(Record), quint64(section.size())))
        return std::nullopt;
    Record record;
    std::memcpy(&record, section.constData() + offset, sizeof record);
    return record;
}

/// The highest version that a section of needed versions (SHT_GNU_verneed) defines.
int highestNeededVersion(const QByteArray& section)
{
    int highest = 0, left = MostVersions;
    for (quint64 at = 0;;) {
        const auto need = recordAt<Elf64_Verneed>(section, at);
        quint64 auxAt = need ? at + need->vn_aux : 0;
        for (int i = 0; need && i < need->vn_cnt; ++i) {
            const auto aux = recordAt<Elf64_Vernaux>(section, auxAt);
            if (!aux || --left < 0)
                return highest;
            highest = std::max(highest, aux->vna_other & VersionMask);
            auxAt += aux->vna_next;
        }
        if (!need || need->vn_next == 0 || --left < 0)
            return highest;
        at += need->vn_next;
    }
}

/// The highest version that a section of own versions (SHT_GNU_verdef) defines.
int highestOwnVersion(const QByteArray& section)
{
    int highest = 0;
    for (quint64 at = 0;;) {
        const auto definition = recordAt<Elf64_Verdef>(section, at);
        if (definition)
            highest = std::max(highest, definition->vd_ndx & VersionMask);
        if (!definition || definition->vd_next == 0)
            return highest;
        at += definition->vd_next;
    }
}

/// Whether the version of every symbol is one that the file defines: the loader uses them as indices without a check.
bool areVersionsDefined(QIODevice& file, const Elf64_Ehdr& header)
{
    if (header.e_shentsize != sizeof(Elf64_Shdr))
        return true;
    // 0 and 1 are local and global symbols without a version.
    int highest = 1;
    QByteArray versions;
    for (quint64 i = 0; i < header.e_shnum; ++i) {
        Elf64_Shdr section;
        if (!file.seek(qint64(header.e_shoff + i * sizeof section)) ||
            file.read(reinterpret_cast<char*>(&section), sizeof section) != qint64(sizeof section))
            return false;
        if (section.sh_type == SHT_GNU_versym)
            versions = readSection(file, section);
        else if (section.sh_type == SHT_GNU_verneed)
            highest = std::max(highest, highestNeededVersion(readSection(file, section)));
        else if (section.sh_type == SHT_GNU_verdef)
            highest = std::max(highest, highestOwnVersion(readSection(file, section)));
    }
    for (quint64 at = 0; const auto version = recordAt<Elf64_Versym>(versions, at); at += sizeof *version)
        if ((*version & VersionMask) > highest)
            return false;
    return true;
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
    QString truncated = QStringLiteral("file is truncated");
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
    return areVersionsDefined(file, header) ? QString() : QStringLiteral("its symbol versions are damaged");
}

QString findElfProblem(const QString& fileName)
{
    if (!QFileInfo(fileName).isFile())
        return QStringLiteral("not a regular file");
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? findElfProblem(file) : file.errorString();
}

} // namespace tov::util
