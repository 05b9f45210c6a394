#include "tests/encoders/blockreader.h"

#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>

#include <stdexcept>

namespace tov::test {

namespace {

/// Takes bytes from the front; throws if too few are left.
class Bytes
{
public:
    explicit Bytes(const QString& fileName)
    {
        QFile file(fileName);
        if (!file.open(QIODevice::ReadOnly))
            throw std::runtime_error("cannot be opened");
        m_Data = file.readAll();
    }
    QByteArray take(int count)
    {
        if (count < 0 || m_At + count > m_Data.size())
            throw std::runtime_error("ends early");
        m_At += count;
        return m_Data.mid(m_At - count, count);
    }
    int byte() { return uchar(take(1)[0]); }
    quint32 word() { return qFromBigEndian<quint32>(take(4).constData()); }
    bool atEnd() const { return m_At == m_Data.size(); }

private:
    QByteArray m_Data;
    int m_At = 0;
};

void require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

void takeSubBlocks(Bytes& bytes)
{
    for (int size = bytes.byte(); size > 0; size = bytes.byte())
        bytes.take(size);
}

int gifFrames(Bytes& bytes)
{
    require(bytes.take(6) == "GIF89a", "signature");
    const QByteArray screen = bytes.take(7);
    const int width = qFromLittleEndian<quint16>(screen.constData());
    const int height = qFromLittleEndian<quint16>(screen.constData() + 2);
    const bool hasGlobalTable = screen[4] & 0x80;
    if (hasGlobalTable)
        bytes.take(3 << ((screen[4] & 7) + 1));
    int frames = 0;
    bool controlled = false;
    for (;;) {
        const int kind = bytes.byte();
        if (kind == 0x3b) {
            require(bytes.atEnd(), "bytes after the trailer");
            require(!controlled, "a control extension without an image");
            return frames;
        }
        if (kind == 0x21) {
            if (bytes.byte() == 0xf9) {
                require(!controlled, "two control extensions");
                require(bytes.byte() == 4, "size of a control extension");
                const QByteArray control = bytes.take(4);
                require(((control[0] >> 2) & 7) <= 3, "disposal");
                require(qFromLittleEndian<quint16>(control.constData() + 1) >= 2, "delay");
                require(bytes.byte() == 0, "end of a control extension");
                controlled = true;
            } else {
                takeSubBlocks(bytes);
            }
            continue;
        }
        require(kind == 0x2c, "an unknown block");
        require(controlled, "an image without a control extension");
        controlled = false;
        const QByteArray image = bytes.take(9);
        const auto at = [&image](int i) { return int(qFromLittleEndian<quint16>(image.constData() + i)); };
        require(at(0) + at(4) <= width && at(2) + at(6) <= height, "an image beyond the screen");
        require((image[8] & 0x80) || hasGlobalTable, "an image without colours");
        if (image[8] & 0x80)
            bytes.take(3 << ((image[8] & 7) + 1));
        const int codeSize = bytes.byte();
        require(codeSize >= 2 && codeSize <= 8, "code size");
        takeSubBlocks(bytes);
        ++frames;
    }
}

/// CRC-32 as in the appendix of the PNG specification.
quint32 checksum(const QByteArray& bytes)
{
    quint32 sum = 0xffffffffu;
    for (const char byte : bytes) {
        sum ^= uchar(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum & 1 ? 0xedb88320u ^ (sum >> 1) : sum >> 1;
    }
    return ~sum;
}

int apngFrames(Bytes& bytes)
{
    require(bytes.take(8) == QByteArray("\x89PNG\r\n\x1a\n", 8), "signature");
    int frames = 0, announced = -1;
    quint32 sequence = 0;
    bool hasData = true, hasPicture = false;
    for (int chunk = 0;; ++chunk) {
        const quint32 size = bytes.word();
        const QByteArray type = bytes.take(4);
        const QByteArray data = bytes.take(int(size));
        require(bytes.word() == checksum(type + data), "checksum");
        require((chunk == 0) == (type == "IHDR"), "the header is the first chunk, and only it");
        if (type == "acTL") {
            require(announced < 0 && !hasPicture, "place of the animation control");
            announced = int(qFromBigEndian<quint32>(data.constData()));
        } else if (type == "fcTL" || type == "fdAT") {
            require(qFromBigEndian<quint32>(data.constData()) == sequence++, "sequence number");
            if (type == "fcTL") {
                require(hasData && data.size() == 26, "a frame without data");
                require(qFromBigEndian<quint16>(data.constData() + 20) > 0, "delay");
                ++frames;
            } else {
                require(hasPicture && frames > 1, "data of a later frame before the first one");
            }
            hasData = type == "fdAT";
        } else if (type == "IDAT") {
            require(frames == 1, "the picture is the first frame");
            hasPicture = hasData = true;
        } else if (type == "IEND") {
            require(bytes.atEnd(), "bytes after the end");
            require(hasData && announced == frames, "announced frames");
            return frames;
        }
    }
}

template <typename Read>
int read(const QString& fileName, Read frames)
{
    try {
        Bytes bytes(fileName);
        return frames(bytes);
    } catch (const std::runtime_error& error) {
        ADD_FAILURE() << fileName.toStdString() << ": " << error.what();
        return -1;
    }
}

} // namespace

int strictGifFrames(const QString& fileName)
{
    return read(fileName, gifFrames);
}

int strictApngFrames(const QString& fileName)
{
    return read(fileName, apngFrames);
}

} // namespace tov::test
