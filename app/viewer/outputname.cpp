#include "app/viewer/outputname.h"

#include "app/common/safeoutput.h"
#include "kernel/main/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace tov::viewer {

namespace {

const QString FolderKey = QStringLiteral("window/capturefolder");
const QString PatternKey = QStringLiteral("window/capturepattern");
const QString SnapshotKey = QStringLiteral("window/snapshotformat");
const QString RecordingKey = QStringLiteral("window/recordingformat");
const QString NumberField = QStringLiteral("{n}");

} // namespace

QString nextFreeName(const QString& folder, const QString& pattern, const QString& model, const QString& ending)
{
    QString name = pattern.trimmed().isEmpty() ? QStringLiteral("{model}-{n}") : pattern.trimmed();
    if (!name.contains(NumberField))
        name += QLatin1Char('-') + NumberField;
    name.replace(QStringLiteral("{model}"), model.isEmpty() ? QStringLiteral("tov") : model);
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    for (int number = 1;; ++number) {
        QString candidate = name;
        candidate.replace(NumberField, QStringLiteral("%1").arg(number, 3, 10, QLatin1Char('0')));
        QString path = QDir(folder).filePath(candidate + QLatin1Char('.') + ending);
        // The name is also taken if its temporary file exists: of a recording that runs, or of a killed one.
        const tov::app::SafeOutput output(path, ending);
        if (!QFileInfo::exists(path) && !QFileInfo::exists(output.getTemporaryName()))
            return path;
    }
}

QString captureFolder()
{
    QString stored = tovSettings().value(FolderKey).toString();
    if (!stored.isEmpty() && QFileInfo(stored).isDir())
        return stored;
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QFileInfo(pictures).isDir() ? pictures : QDir::homePath();
}

QString capturePattern()
{
    return tovSettings().value(PatternKey, QStringLiteral("{model}-{n}")).toString();
}

QString snapshotFormat()
{
    return tovSettings().value(SnapshotKey, QStringLiteral("png")).toString();
}

QString recordingFormat()
{
    return tovSettings().value(RecordingKey, QStringLiteral("mp4")).toString();
}

void setSnapshotFormat(const QString& ending)
{
    tovSettings().setValue(SnapshotKey, ending);
}

void setRecordingFormat(const QString& ending)
{
    tovSettings().setValue(RecordingKey, ending);
}

void setCaptureFolder(const QString& folder)
{
    tovSettings().setValue(FolderKey, folder);
}

void setCapturePattern(const QString& pattern)
{
    tovSettings().setValue(PatternKey, pattern);
}

} // namespace tov::viewer
