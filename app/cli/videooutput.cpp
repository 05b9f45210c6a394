#include "app/cli/videooutput.h"

#include "app/common/outputcheck.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

namespace tov::app {

namespace {

/// Formats whose files are written once from begin to end. AVI files get their length at the end, and AV1 files the
/// codec's header.
bool isStreamable(const QString& ending)
{
    static const QStringList endings{QStringLiteral("mkv"), QStringLiteral("webm"), QStringLiteral("mp4"),
                                     QStringLiteral("mov"), QStringLiteral("gif")};
    return endings.contains(ending.section(QLatin1Char('.'), -1)) && ending != QLatin1String("av1.mkv");
}

} // namespace

SafeOutput::Older olderOf(const OutputRequest& output)
{
    return output.keepsExisting ? SafeOutput::Older::Keep : SafeOutput::Older::Replace;
}

VideoOutput::VideoOutput(const VideoRequest& request, const QString& fileName, const QString& ending)
    : m_FileName(fileName), m_Ending(ending), m_IsPipe(!request.output.isStandardOutput() && isNamedPipe(fileName)),
      // The times of a free recording are written when it is over.
      m_IsImmediate(isStreamable(ending) && request.motion.kind != MotionRequest::Kind::Free)
{
    if (!request.output.isStandardOutput() && !m_IsPipe)
        mp_File = std::make_unique<SafeOutput>(fileName, ending, olderOf(request.output));
}

VideoOutput::~VideoOutput()
{
    mp_Pipe.reset();
    if (m_Stream >= 0 && m_Stream != STDOUT_FILENO)
        close(m_Stream);
}

bool VideoOutput::checkStream(const QString& ending, QString* error)
{
    if (ending != QLatin1String("frames"))
        return true;
    *error = tr("frames are many files, which cannot be written to one stream; use another format");
    return false;
}

bool VideoOutput::openStream(QString* error)
{
    m_Stream = m_IsPipe ? openPipe(m_FileName, error) : STDOUT_FILENO;
    return m_Stream >= 0;
}

bool VideoOutput::prepare(QString* error)
{
    if (mp_File)
        return mp_File->prepare(error);
    if (!openStream(error))
        return false;
    if (m_IsImmediate) {
        mp_Pipe = std::make_unique<PrivatePipe>(QStringLiteral("video.") + m_Ending, m_Stream);
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
    bool isSent = file.open(QIODevice::ReadOnly) && stream.open(m_Stream, QIODevice::WriteOnly | QIODevice::Unbuffered);
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
    *error = m_IsPipe ? tr("cannot write '%1': %2").arg(m_FileName, reason)
                      : tr("cannot write to standard output: %1").arg(reason);
    return false;
}

void VideoOutput::discard()
{
    if (mp_File)
        mp_File->discard();
}

} // namespace tov::app
