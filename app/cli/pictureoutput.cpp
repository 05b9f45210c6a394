#include "app/cli/pictureoutput.h"

#include "app/common/pictureprobe.h"
#include "app/common/safeoutput.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>

namespace tov::app {

namespace {

constexpr int DefaultQuality = 90;

/// A file that records whether a write was short: the TIFF writer does not report that.
class PictureFile : public QFile
{
public:
    using QFile::QFile;
    bool isComplete() const { return m_IsComplete; }

protected:
    qint64 writeData(const char* data, qint64 length) override
    {
        const qint64 written = QFile::writeData(data, length);
        m_IsComplete = m_IsComplete && written == length;
        return written;
    }

private:
    bool m_IsComplete = true;
};

bool write(const QImage& image, QIODevice& device, const QString& format, int quality, QString* reason)
{
    QImageWriter writer(&device, format.toLatin1());
    if (quality >= 0)
        writer.setQuality(quality);
    else if (format != QLatin1String("png"))
        writer.setQuality(DefaultQuality);
    if (format.startsWith(QLatin1String("tif")))
        writer.setCompression(1); // LZW: lossless and read everywhere
    if (writer.write(image))
        return true;
    *reason = writer.errorString();
    return false;
}

} // namespace

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
    if (!write(image, buffer, m_Format, quality, reason))
        return false;
    QFile stream;
    if (stream.open(m_Stream.descriptor(), QIODevice::WriteOnly | QIODevice::Unbuffered) &&
        stream.write(buffer.data()) == buffer.size())
        return true;
    *reason = stream.errorString();
    return false;
}

bool PictureOutput::saveFile(const QImage& image, int quality, QString* error)
{
    SafeOutput output(m_FileName, m_Format, m_Request.older);
    if (!output.prepare(error))
        return false;
    PictureFile file(output.getTemporaryName());
    QString reason;
    // With a buffer, nothing would notice that the last bytes could not be written.
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                           write(image, file, m_Format, quality, &reason) && file.isComplete();
    // A short write does not set a reason; the next write reports it.
    if (!isWritten && file.isOpen() && file.error() == QFileDevice::NoError)
        file.write("", 1);
    if (!isWritten && (reason.isEmpty() || file.error() != QFileDevice::NoError))
        reason = file.errorString();
    file.close();
    if (isWritten && !isWholePicture(output.getTemporaryName()))
        reason = tr("it cannot be read back");
    if (reason.isEmpty() && output.commit(error))
        return true;
    if (!reason.isEmpty())
        *error = tr("cannot write '%1': %2").arg(m_FileName, reason);
    output.discard();
    return false;
}

bool PictureOutput::save(const QImage& image, int quality, QString* error)
{
    if (!m_Stream.isOpen())
        return saveFile(image, quality, error);
    QString reason;
    if (saveStream(image, quality, &reason))
        return true;
    *error = tr("cannot write '%1': %2").arg(m_FileName, reason);
    return false;
}

} // namespace tov::app
