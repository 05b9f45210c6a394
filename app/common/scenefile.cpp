#include "app/common/scenefile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace tov::app {

namespace {

/// A larger file is not a scene.
constexpr qint64 MostBytes = qint64(64) << 20;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// The content of a regular file; null, with the reason, when it cannot be read.
QByteArray readAll(const QString& fileName, QString* reason)
{
    const QFileInfo info(fileName);
    QFile file(fileName);
    if (!info.exists())
        *reason = tr("there is no such file");
    else if (!info.isFile()) // opening anything else could block
        *reason = info.isDir() ? tr("it is a folder") : tr("it is not a regular file");
    else if (info.size() > MostBytes)
        *reason = tr("it is larger than 64 MiB");
    else if (!file.open(QIODevice::ReadOnly))
        *reason = file.errorString();
    if (!reason->isEmpty())
        return QByteArray();
    const QByteArray bytes = file.read(MostBytes);
    if (file.error() != QFileDevice::NoError)
        *reason = file.errorString();
    return bytes;
}

} // namespace

const QString SceneFile::Suffix = QStringLiteral("tovscene");

bool SceneFile::Part::operator==(const Part& other) const
{
    return key == other.key && isHidden == other.isHidden && isRemoved == other.isRemoved && color == other.color &&
           opacity == other.opacity;
}

bool SceneFile::isSceneFile(const QString& fileName)
{
    return QFileInfo(fileName).suffix().compare(Suffix, Qt::CaseInsensitive) == 0;
}

std::optional<SceneFile> SceneFile::load(const QString& fileName, QString* error)
{
    QString reason;
    const QByteArray text = readAll(fileName, &reason);
    std::optional<SceneFile> scene;
    if (reason.isEmpty())
        scene = fromJson(text, QFileInfo(fileName).absolutePath(), &reason);
    if (!scene)
        *error = tr("%1 cannot be opened as a scene: %2").arg(fileName, reason);
    return scene;
}

bool SceneFile::save(const QString& fileName, QString* error) const
{
    const QString folder = QFileInfo(fileName).absolutePath();
    const QByteArray text = toJson(folder);
    QString reason;
    // For example, the name of a model may hold control characters.
    if (!fromJson(text, folder, &reason)) {
        *error = tr("cannot write '%1': %2").arg(fileName, reason);
        return false;
    }
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return true;
    *error = tr("cannot write '%1': %2").arg(fileName, file.errorString());
    return false;
}

} // namespace tov::app
