#include "app/common/pictureprobe.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QtEndian>

namespace tov::app {

namespace {

/// The bytes from an offset on; fewer at the end of the file.
QByteArray bytesAt(QFile& file, qint64 position, int count)
{
    return file.seek(position) ? file.read(count) : QByteArray();
}

/// The list of fields of a TIFF file is written last, and the header points to it.
bool isWholeTiff(QFile& file, const QByteArray& head)
{
    const bool little = head.startsWith("II");
    const auto* const bytes = reinterpret_cast<const uchar*>(head.constData());
    const qint64 directory = little ? qFromLittleEndian<quint32>(bytes + 4) : qFromBigEndian<quint32>(bytes + 4);
    const QByteArray count = bytesAt(file, directory, 2);
    if (directory < 8 || count.size() < 2)
        return false;
    const auto* const fields = reinterpret_cast<const uchar*>(count.constData());
    return directory + 2 + 12 * (little ? qFromLittleEndian<quint16>(fields) : qFromBigEndian<quint16>(fields)) + 4 <=
           file.size();
}

/// Bytes of the pixels of a binary PNM picture of that kind.
qint64 pnmBytes(char kind, const QSize& size)
{
    const qint64 row = kind == '4' ? (size.width() + 7) / 8 : kind == '5' ? size.width() : qint64(size.width()) * 3;
    return row * size.height();
}

} // namespace

bool isWholePicture(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(8);
    const qint64 size = file.size();
    if (head.size() < 8)
        return false;
    const auto* const bytes = reinterpret_cast<const uchar*>(head.constData());
    if (head.startsWith("\x89PNG"))
        return bytesAt(file, size - 8, 8) == QByteArray("IEND\xAE\x42\x60\x82", 8);
    if (head.startsWith("\xFF\xD8"))
        return bytesAt(file, size - 2, 2) == QByteArray("\xFF\xD9", 2);
    if (head.startsWith("BM"))
        return qFromLittleEndian<quint32>(bytes + 2) == quint32(size);
    if (head.startsWith("RIFF"))
        return qint64(qFromLittleEndian<quint32>(bytes + 4)) + 8 <= size;
    if (head.startsWith("II*") || head.startsWith("MM"))
        return isWholeTiff(file, head);
    if (head[0] == 'P' && head[1] >= '4' && head[1] <= '6')
        return size > pnmBytes(head[1], QImageReader(fileName).size());
    return !QImageReader(fileName).read().isNull();
}

} // namespace tov::app
