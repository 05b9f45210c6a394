#pragma once

#include <QFile>
#include <QString>
#include <QtEndian>

namespace tov::plugins::video {

/// The bytes of a file, read without copying them; reading beyond the end gives zeros. Thread: any, one at a time.
class MappedFile
{
public:
    /// Returns the problem, empty if there was none.
    QString open(const QString& fileName)
    {
        m_File.setFileName(fileName);
        const bool opened = m_File.open(QIODevice::ReadOnly);
        m_Size = opened ? m_File.size() : 0;
        mp_Data = m_Size > 0 ? m_File.map(0, m_Size) : nullptr;
        return mp_Data
                   ? QString()
                   : QStringLiteral("cannot read '%1': %2")
                         .arg(fileName, opened && m_Size == 0 ? QStringLiteral("it is empty") : m_File.errorString());
    }
    /// The name that was given to `open`.
    QString name() const { return m_File.fileName(); }
    /// The size in bytes.
    qint64 size() const { return m_Size; }
    /// The bytes; they stay valid as long as this object.
    const uchar* data() const { return mp_Data; }
    /// Whether the file has `bytes` bytes from position `at` on.
    bool has(qint64 at, qint64 bytes) const { return at >= 0 && bytes >= 0 && at <= m_Size && bytes <= m_Size - at; }
    /// The byte at a position.
    uchar byte(qint64 at) const { return has(at, 1) ? mp_Data[at] : 0; }
    /// The four bytes at a position as a number, the highest byte first.
    quint32 bigEndian32(qint64 at) const { return has(at, 4) ? qFromBigEndian<quint32>(mp_Data + at) : 0; }
    /// A copy of some bytes; empty when the file does not have them.
    QByteArray bytes(qint64 at, qint64 count) const
    {
        return has(at, count) ? QByteArray(reinterpret_cast<const char*>(mp_Data) + at, int(count)) : QByteArray();
    }

private:
    QFile m_File;
    qint64 m_Size = 0;
    const uchar* mp_Data = nullptr; ///< owned by the file
};

} // namespace tov::plugins::video
