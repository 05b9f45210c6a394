#include "app/cli/outputs/pictureoutput.h"

#include "app/common/picturefile.h"

#include <QBuffer>
#include <QFile>

namespace tov::app {

PictureOutput::PictureOutput(const OutputRequest& request, const QString& fileName, const QString& format)
    : m_Request(request), m_FileName(fileName), m_Format(format)
{}

bool PictureOutput::prepare(QString* error)
{
    return !isStream(m_Request, m_FileName) || m_Stream.open(m_Request, m_FileName, error);
}

bool PictureOutput::saveStream(const QImage& image, int quality, QString* reason)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!PictureFile(m_Format, quality).write(image, buffer, reason))
        return false;
    QFile stream;
    if (stream.open(m_Stream.descriptor(), QIODevice::WriteOnly | QIODevice::Unbuffered) &&
        stream.write(buffer.data()) == buffer.size())
        return true;
    *reason = stream.errorString();
    return false;
}

bool PictureOutput::save(const QImage& image, int quality, QString* error)
{
    if (!m_Stream.isOpen())
        return PictureFile(m_Format, quality).save(image, m_FileName, m_Request.older, error);
    QString reason;
    if (saveStream(image, quality, &reason))
        return true;
    *error = tr("cannot write '%1': %2").arg(m_FileName, reason);
    return false;
}

} // namespace tov::app
