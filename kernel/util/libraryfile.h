#pragma once

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QString>
#include <QVariantMap>

#include <cstring>
#include <utility>
#include <vector>

#include <elf.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::util {

/// Property of the application object: libraries that must not be loaded, a map from canonical file name to the reason.
/// Whoever tries libraries before they are used (see `LibraryProbe`) puts it there.
inline constexpr const char* RefusedLibraries = "tovRefusedLibraries";

/// How a process that tries a library ends when the library let it.
inline constexpr int ProbedStatus = 42;

/// Why what an open file holds cannot be a whole shared library of this machine, in a few words; empty when it may be.
/// A file that is shorter than its own headers say kills the process inside the loader, so it is looked at first.
/// Fields as in the ELF specification, 64 bits. Thread: any.
inline QString elfDefectOf(QIODevice& file)
{
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

/// The same of a file that is named.
inline QString elfDefectOf(const QString& fileName)
{
    if (!QFileInfo(fileName).isFile())
        return QStringLiteral("not a regular file");
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? elfDefectOf(file) : file.errorString();
}

/// Whom a library may belong to: root, the user, and under sudo the user who called it.
inline bool isOwner(uid_t owner)
{
    const QByteArray caller = qgetenv("SUDO_UID");
    return owner == 0 || owner == geteuid() || (geteuid() == 0 && !caller.isEmpty() && caller.toUInt() == owner);
}

/// Whether a group is one that such a user has alone: the primary group, which is root's or has the user's number or
/// name, without other members. Many systems give each user one, and files that the group may change.
inline bool isPrivateGroup(gid_t group)
{
    std::vector<char> space(1 << 16), otherSpace(1 << 16);
    struct group entry;
    struct group* found = nullptr;
    getgrgid_r(group, &entry, space.data(), space.size(), &found);
    const std::pair<uid_t, gid_t> users[] = {
        {geteuid(), getegid()},
        geteuid() == 0 ? std::pair<uid_t, gid_t>(qgetenv("SUDO_UID").toUInt(), qgetenv("SUDO_GID").toUInt())
                       : std::pair<uid_t, gid_t>(geteuid(), getegid())};
    for (const auto& [user, its] : users) {
        struct passwd person;
        struct passwd* known = nullptr;
        getpwuid_r(user, &person, otherSpace.data(), otherSpace.size(), &known);
        const QByteArray name(known ? person.pw_name : "");
        if (group != (known ? person.pw_gid : its))
            continue;
        if (group != 0 && group != user && (!found || name != entry.gr_name))
            continue;
        bool alone = true;
        for (char** member = found ? entry.gr_mem : nullptr; member && *member; ++member)
            alone = alone && (name == *member || qstrcmp(*member, "root") == 0);
        if (alone)
            return true;
    }
    return false;
}

/// Whether somebody else could have changed what has that path and status, a library or a folder above it; says how, or
/// is empty.
inline QString accessDefectOf(const struct stat& status, const QString& path)
{
    const bool isFolder = S_ISDIR(status.st_mode);
    const QString what = isFolder ? QStringLiteral("the folder ") + path : QStringLiteral("it");
    if (!isOwner(status.st_uid))
        return (isFolder ? what + QLatin1Char(' ') : QString()) +
               QStringLiteral("belongs to another user (%1)").arg(status.st_uid) +
               (isFolder ? QString() : QStringLiteral("; only root's and your own are loaded"));
    // In a sticky folder only owners may replace files.
    if (isFolder && (status.st_mode & S_ISVTX))
        return QString();
    if (status.st_mode & S_IWOTH)
        return QStringLiteral("everybody may change %1 (chmod o-w \"%2\")").arg(what, path);
    if ((status.st_mode & S_IWGRP) && !isPrivateGroup(status.st_gid))
        return QStringLiteral("the group %1 may change %2 (chmod g-w \"%3\")")
            .arg(QString::number(status.st_gid), what, path);
    return QString();
}

/// Whether somebody else could have put code into the file; says how, or is empty. The file and the folders above must
/// belong to root or the user (under sudo also the user who called it), and neither everybody nor a group of several
/// users may write them, but for folders where only owners may replace files (sticky, as /tmp). Folders from the one
/// that the environment variable TOV_TRUSTED_FOLDER names upwards are not looked at: for build machines whose work
/// folders are open to all. Thread: any.
inline QString accessDefectOf(const QString& fileName)
{
    const QString name = QFileInfo(fileName).canonicalFilePath();
    struct stat status;
    if (name.isEmpty() || stat(QFile::encodeName(name).constData(), &status) != 0)
        return QStringLiteral("cannot be looked at");
    QString defect = accessDefectOf(status, name);
    const QString trusted = QFileInfo(qEnvironmentVariable("TOV_TRUSTED_FOLDER")).canonicalFilePath();
    for (QString folder = QFileInfo(name).path(); defect.isEmpty(); folder = QFileInfo(folder).path()) {
        if (!trusted.isEmpty() && (folder == trusted || trusted.startsWith(folder + QLatin1Char('/'))))
            break;
        if (stat(QFile::encodeName(folder).constData(), &status) != 0)
            return QStringLiteral("the folder %1 cannot be looked at").arg(folder);
        defect = accessDefectOf(status, folder);
        if (folder == QLatin1String("/"))
            break;
    }
    return defect;
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
