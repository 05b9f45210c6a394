#pragma once

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QVariantMap>

#include <cstring>

#include <elf.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::util {

/// Property of the application object: libraries that must not be loaded, a map from canonical file name to the reason.
/// Whoever tries libraries before they are used (see `LibraryProbe`) puts it there.
inline constexpr const char* RefusedLibraries = "tovRefusedLibraries";

/// How a process that tries a library ends when the library let it.
inline constexpr int ProbedStatus = 42;

/// Why a file cannot be a whole shared library of this machine, in a few words; empty when it may be. A file that is
/// shorter than its own headers say kills the process inside the loader, so it is looked at first. Fields as in the ELF
/// specification, 64 bits. Thread: any.
inline QString elfDefectOf(const QString& fileName)
{
    const QFileInfo info(fileName);
    if (!info.isFile())
        return QStringLiteral("not a regular file");
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    const quint64 size = quint64(file.size());
    Elf64_Ehdr header;
    if (file.read(reinterpret_cast<char*>(&header), sizeof header) != qint64(sizeof header))
        return QStringLiteral("file too short");
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        return QStringLiteral("invalid ELF header");
    if (header.e_type != ET_DYN || header.e_phentsize != sizeof(Elf64_Phdr))
        return QStringLiteral("not a shared library");
    const QString cut = QStringLiteral("file is truncated");
    const quint64 tableSize = quint64(header.e_phnum) * sizeof(Elf64_Phdr);
    if (header.e_phoff > size || tableSize > size - header.e_phoff)
        return cut;
    if (!file.seek(qint64(header.e_phoff)))
        return cut;
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        if (file.read(reinterpret_cast<char*>(&segment), sizeof segment) != qint64(sizeof segment))
            return cut;
        if (segment.p_filesz > 0 && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))
            return cut;
    }
    // The section table comes last in the file: without it the end is missing, whatever the segments say.
    if (header.e_shnum > 0) {
        const quint64 sections = quint64(header.e_shnum) * header.e_shentsize;
        if (header.e_shoff > size || sections > size - header.e_shoff)
            return cut;
    }
    return QString();
}

/// Whether somebody else could have put code into the file; says how, or is empty. The file must belong to root or the
/// user (under sudo also the user who called it), and neither it nor a folder above may be writable by everybody, but
/// for folders where only owners may replace files (sticky, as /tmp). Folders from the one that the environment
/// variable TOV_TRUSTED_FOLDER names upwards are not looked at: for build machines whose work folders are open to all.
/// Thread: any.
inline QString accessDefectOf(const QString& fileName)
{
    const QString name = QFileInfo(fileName).canonicalFilePath();
    struct stat status;
    if (name.isEmpty() || stat(QFile::encodeName(name).constData(), &status) != 0)
        return QStringLiteral("cannot be looked at");
    const QByteArray caller = qgetenv("SUDO_UID");
    const bool own = status.st_uid == 0 || status.st_uid == geteuid() ||
                     (geteuid() == 0 && !caller.isEmpty() && caller.toUInt() == status.st_uid);
    if (!own)
        return QStringLiteral("belongs to another user (%1); only root's and your own are loaded").arg(status.st_uid);
    if (status.st_mode & S_IWOTH)
        return QStringLiteral("everybody may change it (chmod o-w \"%1\")").arg(name);
    const QString trusted = QFileInfo(qEnvironmentVariable("TOV_TRUSTED_FOLDER")).canonicalFilePath();
    for (QString folder = QFileInfo(name).path();; folder = QFileInfo(folder).path()) {
        if (!trusted.isEmpty() && (folder == trusted || trusted.startsWith(folder + QLatin1Char('/'))))
            break;
        if (stat(QFile::encodeName(folder).constData(), &status) != 0)
            return QStringLiteral("the folder %1 cannot be looked at").arg(folder);
        if ((status.st_mode & S_IWOTH) && !(status.st_mode & S_ISVTX))
            return QStringLiteral("everybody may change the folder %1 (chmod o-w \"%1\")").arg(folder);
        if (folder == QLatin1String("/"))
            break;
    }
    return QString();
}

/// Why a library must not be loaded, as a sentence that begins with its name; empty when it may be. Thread:
/// application.
inline QString libraryDefectOf(const QString& fileName)
{
    QString reason = elfDefectOf(fileName);
    if (reason.isEmpty())
        reason = accessDefectOf(fileName);
    if (reason.isEmpty() && QCoreApplication::instance())
        reason = QCoreApplication::instance()
                     ->property(RefusedLibraries)
                     .toMap()
                     .value(QFileInfo(fileName).canonicalFilePath())
                     .toString();
    return reason;
}

} // namespace tov::util
