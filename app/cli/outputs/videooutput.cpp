#include "app/cli/outputs/videooutput.h"

#include "app/common/videoformats.h"

#include <QDir>
#include <QFile>

namespace tov::app {

VideoOutput::VideoOutput(const VideoRequest& request, const QString& fileName, const QString& ending)
    : m_Request(request.output), m_FileName(fileName), m_Ending(ending),
      // The times of a free recording are written when it is over.
      m_IsImmediate(isStreamableVideo(ending) && request.motion.kind != MotionRequest::Kind::Free)
{
    if (!isStream(request.output, fileName))
        mp_File = std::make_unique<SafeOutput>(fileName, ending, request.output.older);
}

bool VideoOutput::checkStream(const QString& ending, QString* error)
{
    if (ending != QLatin1String("frames"))
        return true;
    *error = tr("frames are many files, which cannot be written to one stream; use another format");
    return false;
}

bool VideoOutput::prepare(QString* error)
{
    if (mp_File)
        return mp_File->prepare(error);
    if (!m_Stream.open(m_Request, m_FileName, error))
        return false;
    if (m_IsImmediate) {
        mp_Pipe = std::make_unique<PrivatePipe>(QStringLiteral("video.") + m_Ending, m_Stream.descriptor());
        return mp_Pipe->open(error);
    }
    mp_Folder = std::make_unique<QTemporaryDir>(QDir::temp().filePath(QStringLiteral("tov-XXXXXX")));
    if (!mp_Folder->isValid())
        *error = mp_Folder->errorString();
    return mp_Folder->isValid();
}

QString VideoOutput::getRecordedName() const
{
    if (mp_File)
        return mp_File->getTemporaryName();
    return mp_Pipe ? mp_Pipe->getFileName() : mp_Folder->filePath(QStringLiteral("video.") + m_Ending);
}

bool VideoOutput::sendFile(QString* error)
{
    constexpr qint64 BlockBytes = 1 << 20;
    QFile file(getRecordedName()), stream;
    bool isSent = file.open(QIODevice::ReadOnly) &&
                  stream.open(m_Stream.descriptor(), QIODevice::WriteOnly | QIODevice::Unbuffered);
    while (isSent && !file.atEnd()) {
        const QByteArray block = file.read(BlockBytes);
        isSent = !block.isEmpty() && stream.write(block) == block.size();
    }
    if (!isSent)
        *error = file.error() == QFileDevice::NoError ? stream.errorString() : file.errorString();
    return isSent;
}

bool VideoOutput::deliver(QString* error)
{
    if (mp_File)
        return mp_File->commit(error);
    QString reason;
    if (mp_Pipe ? mp_Pipe->finish(&reason) : sendFile(&reason))
        return true;
    *error = m_Request.isStandardOutput() ? tr("cannot write to standard output: %1").arg(reason)
                                          : tr("cannot write '%1': %2").arg(m_FileName, reason);
    return false;
}

void VideoOutput::discard()
{
    if (mp_File)
        mp_File->discard();
}

} // namespace tov::app
