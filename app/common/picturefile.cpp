#include "app/common/picturefile.h"

#include "app/common/pictureprobe.h"

#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QStringList>

namespace tov::app {

namespace {

constexpr int DefaultQuality = 90;

/// A file that records whether a write was short: the TIFF writer does not report that.
class CheckedFile : public QFile
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

/// Icons are stored in sizes of their own, which some readers do not report.
bool hasSize(const QString& fileName, const QSize& size)
{
    QImageReader reader(fileName);
    const QSize found = reader.size();
    return !found.isValid() || found == size || reader.format() == "icns";
}

} // namespace

bool PictureFile::storesResolution(const QString& format)
{
    static const QStringList formats{QStringLiteral("png"),  QStringLiteral("jpg"), QStringLiteral("jpeg"),
                                     QStringLiteral("tiff"), QStringLiteral("tif"), QStringLiteral("bmp")};
    return formats.contains(format);
}

bool PictureFile::write(const QImage& image, QIODevice& device, QString* reason) const
{
    QImageWriter writer(&device, m_Format.toLatin1());
    if (m_Quality >= 0)
        writer.setQuality(m_Quality);
    else if (m_Format != QLatin1String("png"))
        writer.setQuality(DefaultQuality);
    if (m_Format.startsWith(QLatin1String("tif")))
        writer.setCompression(1); // LZW: lossless and read everywhere
    if (writer.write(image))
        return true;
    *reason = writer.errorString();
    return false;
}

bool PictureFile::writeFile(const QImage& image, const QString& fileName, QString* reason) const
{
    CheckedFile file(fileName);
    // With a buffer, nothing would notice that the last bytes could not be written.
    const bool isWritten =
        file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && write(image, file, reason) && file.isComplete();
    // A short write does not set a reason; the next write reports it.
    if (!isWritten && file.isOpen() && file.error() == QFileDevice::NoError)
        file.write("", 1);
    if (!isWritten && (reason->isEmpty() || file.error() != QFileDevice::NoError))
        *reason = file.errorString();
    file.close();
    if (!isWritten || (isWholePicture(fileName) && hasSize(fileName, image.size())))
        return isWritten;
    *reason = tr("it cannot be read back");
    return false;
}

bool PictureFile::save(const QImage& image, const QString& fileName, SafeOutput::Older older, QString* error) const
{
    SafeOutput output(fileName, m_Format, older);
    if (!output.prepare(error))
        return false;
    QString reason;
    if (writeFile(image, output.getTemporaryName(), &reason))
        return output.commit(error);
    *error = tr("cannot write '%1': %2").arg(fileName, reason);
    output.discard();
    return false;
}

} // namespace tov::app
