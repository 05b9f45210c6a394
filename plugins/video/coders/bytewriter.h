#pragma once

#include <QFile>

namespace tov::plugins::video {

/// A new file that is written from front to back. After the first failure nothing more is written. Thread: any, one at
/// a time.
class ByteWriter
{
public:
    /// Opens the file and empties it.
    explicit ByteWriter(const QString& fileName) : m_File(fileName)
    {
        m_Written = m_File.open(QIODevice::WriteOnly | QIODevice::Truncate);
    }
    /// Appends bytes.
    void put(const char* data, qint64 size) { m_Written = m_Written && m_File.write(data, size) == size; }
    /// Appends bytes.
    void put(const QByteArray& bytes) { put(bytes.constData(), bytes.size()); }
    /// Flushes the file. Returns the problem, empty if everything was written.
    QString finish()
    {
        m_Written = m_Written && m_File.flush();
        return m_Written ? QString()
                         : QStringLiteral("cannot write '%1': %2").arg(m_File.fileName(), m_File.errorString());
    }

private:
    QFile m_File;
    bool m_Written;
};

} // namespace tov::plugins::video
