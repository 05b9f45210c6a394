#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>

#include <array>
#include <type_traits>
#include <vector>

namespace tov::app {

/// SHA-256 of a sequence of values. Values of variable length are preceded by their length, so that two sequences have
/// the same digest only if all their values are equal. Numbers are taken in the byte order of the machine. Thread: any,
/// one at a time.
class Digest
{
public:
    void addBytes(const void* bytes, std::size_t size)
    {
        // The hash takes sizes as int.
        constexpr std::size_t Most = 1 << 30;
        const char* at = static_cast<const char*>(bytes);
        for (; size > Most; size -= Most, at += Most)
            m_Hash.addData(at, int(Most));
        m_Hash.addData(at, int(size));
    }
    template <typename T>
    void add(T value)
    {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        addBytes(&value, sizeof value);
    }
    void add(const QString& text) { add(text.toUtf8()); }
    void add(const QByteArray& bytes)
    {
        add(qint64(bytes.size()));
        addBytes(bytes.constData(), std::size_t(bytes.size()));
    }
    /// The values must have no padding.
    template <typename T>
    void add(const std::vector<T>& values)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        add(qint64(values.size()));
        addBytes(values.data(), values.size() * sizeof(T));
    }
    template <typename T, std::size_t N>
    void add(const std::array<T, N>& values)
    {
        static_assert(std::is_arithmetic_v<T>);
        addBytes(values.data(), sizeof values);
    }

    QByteArray result() const { return m_Hash.result(); }

private:
    QCryptographicHash m_Hash{QCryptographicHash::Sha256};
};

} // namespace tov::app
