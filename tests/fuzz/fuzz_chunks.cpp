// Cutting chunks into frames: every complete frame once and in order, in memory and in truncated files.

#include "plugins/video/coders/framereader.h"

#include <QBuffer>

#include <algorithm>
#include <cstdlib>
#include <cstring>

using tov::plugins::video::FrameReader;

namespace {

/// A device other than a buffer, which may be shorter than its size.
class Device : public QIODevice
{
public:
    Device(const QByteArray& bytes, qint64 missing) : m_Bytes(bytes), m_End(std::max<qint64>(0, bytes.size() - missing))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    qint64 size() const override { return m_Bytes.size(); }

protected:
    qint64 readData(char* data, qint64 most) override
    {
        const qint64 count = std::min({most, m_End - std::min(m_End, pos()), qint64(7)});
        std::memcpy(data, m_Bytes.constData() + pos(), std::size_t(count));
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray m_Bytes;
    const qint64 m_End;
};

void check(QIODevice& device, const QByteArray& bytes, qint64 frame, bool whole)
{
    FrameReader reader(&device, frame);
    qint64 at = 0;
    while (const uchar* got = reader.next()) {
        if (at + frame > bytes.size() || std::memcmp(got, bytes.constData() + at, std::size_t(frame)) != 0)
            std::abort();
        at += frame;
    }
    if (reader.remainder() != bytes.size() % frame)
        std::abort();
    if (whole && (reader.failed() || at != bytes.size() / frame * frame))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const qint64 frame = 1 + data[0];
    const qint64 missing = data[1] % 16;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 2), int(size - 2));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadWrite);
    buffer.seek(buffer.size());
    check(buffer, bytes, frame, true);
    Device device(bytes, missing);
    check(device, bytes, frame, missing == 0);
    FrameReader none(nullptr, frame);
    if (none.next() || none.failed())
        std::abort();
    return 0;
}
