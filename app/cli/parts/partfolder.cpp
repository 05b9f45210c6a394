#include "app/cli/parts/partfolder.h"

#include "app/common/safeoutput.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace tov::app {

namespace {

/// A larger file is not a record.
constexpr qint64 MostRecordBytes = 65536;

} // namespace

PartFolder::PartFolder(const QString& output, const QString& ending, const QString& key, int parts)
    : m_Path(output + QStringLiteral(".parts")), m_Ending(ending), m_Key(key), m_Parts(parts)
{}

QString PartFolder::baseName(int part) const
{
    return QStringLiteral("%1-%2of%3").arg(m_Key, QString::number(part), QString::number(m_Parts));
}

QString PartFolder::videoName(int part) const
{
    return QDir(m_Path).filePath(baseName(part) + QLatin1Char('.') + m_Ending);
}

QString PartFolder::lockName(int part) const
{
    return QDir(m_Path).filePath(baseName(part) + QStringLiteral(".lock"));
}

QString PartFolder::joinLockName() const
{
    return QDir(m_Path).filePath(QStringLiteral("%1-join.lock").arg(m_Key));
}

QString PartFolder::recordName(int part) const
{
    return QDir(m_Path).filePath(baseName(part) + QStringLiteral(".json"));
}

bool PartFolder::create(QString* error) const
{
    if (QFileInfo(m_Path).isDir() || mkdir(QFile::encodeName(m_Path).constData(), 0777) == 0)
        return true;
    const int reason = errno;
    // Another process may have been faster.
    if (QFileInfo(m_Path).isDir())
        return true;
    *error = tr("cannot create the folder '%1': %2").arg(m_Path, QString::fromLocal8Bit(std::strerror(reason)));
    return false;
}

QStringList PartFolder::filesOf(int part) const
{
    const QString video = videoName(part);
    QStringList files(video);
    for (const QString& picture : listedPictures(video))
        files << QDir(m_Path).filePath(picture);
    return files;
}

qint64 PartFolder::sizeOf(int part) const
{
    qint64 bytes = 0;
    for (const QString& file : filesOf(part))
        bytes += QFileInfo(file).size();
    return bytes;
}

/// Empty when a file cannot be read.
QString PartFolder::digestOf(int part) const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString& name : filesOf(part)) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
            return QString();
    }
    return QString::fromLatin1(hash.result().toHex());
}

std::optional<PartRecord> PartFolder::findRecord(int part) const
{
    QFile file(recordName(part));
    if (!hasVideo(part) || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject object = QJsonDocument::fromJson(file.read(MostRecordBytes)).object();
    PartRecord record;
    record.frames = qint64(object[QStringLiteral("frames")].toDouble());
    record.bytes = qint64(object[QStringLiteral("bytes")].toDouble());
    record.elapsed = object[QStringLiteral("elapsed")].toDouble();
    record.renderer = object[QStringLiteral("renderer")].toString();
    record.host = object[QStringLiteral("host")].toString();
    record.digest = object[QStringLiteral("sha256")].toString();
    // A record that was copied to another name does not describe this part.
    if (object[QStringLiteral("part")].toString() != baseName(part) || record.frames < 1 ||
        record.bytes != sizeOf(part))
        return std::nullopt;
    return record;
}

std::optional<PartRecord> PartFolder::verify(int part) const
{
    auto record = findRecord(part);
    if (record && record->digest != digestOf(part))
        record.reset();
    return record;
}

bool PartFolder::hasVideo(int part) const
{
    return QFileInfo(videoName(part)).isFile();
}

bool PartFolder::writeRecord(int part, PartRecord record, QString* error) const
{
    const QString digest = digestOf(part);
    if (digest.isEmpty()) {
        // A record without a digest would match any file that cannot be read.
        *error = tr("cannot write '%1': %2").arg(videoName(part), qt_error_string(EIO));
        return false;
    }
    const QJsonObject object{{QStringLiteral("part"), baseName(part)},
                             {QStringLiteral("frames"), record.frames},
                             {QStringLiteral("bytes"), sizeOf(part)},
                             {QStringLiteral("elapsed"), record.elapsed},
                             {QStringLiteral("renderer"), record.renderer},
                             {QStringLiteral("host"), record.host},
                             {QStringLiteral("sha256"), digest}};
    const QByteArray text = QJsonDocument(object).toJson();
    QSaveFile file(recordName(part));
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return true;
    *error = tr("cannot write '%1': %2").arg(recordName(part), file.errorString());
    return false;
}

void PartFolder::removeParts() const
{
    QDir folder(m_Path);
    const QString kept = QFileInfo(joinLockName()).fileName();
    for (const QString& file : folder.entryList({m_Key + QStringLiteral("-*")}, QDir::Files | QDir::Hidden))
        if (file != kept)
            folder.remove(file);
}

void PartFolder::removeIfEmpty() const
{
    QDir().rmdir(m_Path);
}

bool PartFolder::hasOthers() const
{
    for (const QString& file : QDir(m_Path).entryList(QDir::Files))
        if (!file.startsWith(m_Key + QLatin1Char('-')))
            return true;
    return false;
}

} // namespace tov::app
