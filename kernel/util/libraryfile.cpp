#include "kernel/util/libraryfile.h"

#include "kernel/util/elffile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

#include <optional>
#include <set>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tov::util {

namespace {

/// The users who can write a file or a folder.
struct Writers
{
    uid_t owner;
    std::optional<gid_t> group; ///< set when a group can write it
    bool everybody;
};

/// Empty when the file does not exist.
std::optional<Writers> findWriters(const QString& path)
{
    struct stat status;
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    Writers writers{status.st_uid, std::nullopt, false};
    // In a sticky folder only owners can replace files.
    if (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX))
        return writers;
    if (status.st_mode & S_IWGRP)
        writers.group = status.st_gid;
    writers.everybody = status.st_mode & S_IWOTH;
    return writers;
}

/// The file, then the folders above it up to the root.
std::vector<QString> pathsUpwards(const QString& canonicalName)
{
    std::vector<QString> paths{canonicalName};
    while (paths.back() != QLatin1String("/"))
        paths.push_back(QFileInfo(paths.back()).path());
    return paths;
}

/// The users who can replace this program.
struct ProgramWriters
{
    std::set<uid_t> users{0, geteuid()};
    std::set<gid_t> groups;
    bool everybody = false;
};

ProgramWriters findProgramWriters()
{
    ProgramWriters result;
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    if (program.isEmpty())
        return result;
    for (const QString& path : pathsUpwards(program)) {
        const std::optional<Writers> writers = findWriters(path);
        if (!writers)
            continue;
        result.users.insert(writers->owner);
        if (writers->group)
            result.groups.insert(*writers->group);
        result.everybody = result.everybody || writers->everybody;
    }
    return result;
}

/// Whether a user is the only member of a group: it is the primary group, is root's or has the user's number or name,
/// and has no other members. Many systems give each user such a group and make files writable for it.
bool isPrivateGroup(gid_t group, uid_t user)
{
    std::vector<char> groupSpace(1 << 16), userSpace(1 << 16);
    struct group groupEntry;
    struct group* knownGroup = nullptr;
    getgrgid_r(group, &groupEntry, groupSpace.data(), groupSpace.size(), &knownGroup);
    struct passwd userEntry;
    struct passwd* knownUser = nullptr;
    getpwuid_r(user, &userEntry, userSpace.data(), userSpace.size(), &knownUser);
    const QByteArray name(knownUser ? knownUser->pw_name : "");
    if (group != (knownUser ? knownUser->pw_gid : user == geteuid() ? getegid() : gid_t(user)))
        return false;
    if (group != 0 && group != user && (!knownGroup || name != knownGroup->gr_name))
        return false;
    for (char** member = knownGroup ? knownGroup->gr_mem : nullptr; member && *member; ++member)
        if (name != *member && qstrcmp(*member, "root") != 0)
            return false;
    return true;
}

bool isTrustedGroup(gid_t group, const ProgramWriters& program)
{
    if (program.groups.count(group))
        return true;
    for (const uid_t user : program.users)
        if (isPrivateGroup(group, user))
            return true;
    return false;
}

/// The problem of the library's path or of a folder above it; empty when only users who could replace the program can
/// write it.
QString findPathProblem(const QString& path, bool isFolder, const ProgramWriters& program)
{
    const std::optional<Writers> writers = findWriters(path);
    const QString what = isFolder ? QStringLiteral("the folder ") + path : QStringLiteral("it");
    if (!writers)
        return what + QStringLiteral(" cannot be checked");
    if (!program.users.count(writers->owner))
        return QStringLiteral("%1 belongs to another user (%2), who cannot replace the program")
            .arg(what, QString::number(writers->owner));
    if (writers->everybody)
        return QStringLiteral("everybody may change %1 (chmod o-w \"%2\")").arg(what, path);
    if (writers->group && !isTrustedGroup(*writers->group, program))
        return QStringLiteral("the group %1 may change %2 (chmod g-w \"%3\")")
            .arg(QString::number(*writers->group), what, path);
    return QString();
}

} // namespace

QString findAccessProblem(const QString& fileName)
{
    const QString name = QFileInfo(fileName).canonicalFilePath();
    if (name.isEmpty())
        return QStringLiteral("it cannot be checked");
    const ProgramWriters program = findProgramWriters();
    if (program.everybody)
        return QString();
    for (const QString& path : pathsUpwards(name)) {
        const QString problem = findPathProblem(path, path != name, program);
        if (!problem.isEmpty())
            return problem;
    }
    return QString();
}

QString findLibraryProblem(const QString& fileName)
{
    QString problem = findElfProblem(fileName);
    if (problem.isEmpty())
        problem = findAccessProblem(fileName);
    if (problem.isEmpty() && QCoreApplication::instance())
        problem = QCoreApplication::instance()
                      ->property(RefusedLibraries)
                      .toMap()
                      .value(QFileInfo(fileName).canonicalFilePath())
                      .toString();
    return problem;
}

} // namespace tov::util
