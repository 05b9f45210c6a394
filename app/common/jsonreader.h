#pragma once

#include <QCoreApplication>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <array>
#include <vector>

namespace tov::app {

/// Reads the values of a JSON object from a file that anybody may have written: checks types and ranges, and keeps the
/// first error, which names the place of the value. Absent values are left as they are. Thread: any.
class JsonReader
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::JsonReader)
public:
    /// `error` must outlive the reader and all readers that come from it; it stays empty without an error.
    JsonReader(const QJsonObject& object, QString* error) : m_Object(object), mp_Error(error) {}

    bool has(const char* key) const { return m_Object.contains(QLatin1String(key)); }
    bool hasFailed() const { return !mp_Error->isEmpty(); }
    /// Keeps "PLACE REASON" unless there is an earlier error.
    void fail(const char* key, const QString& reason) const;

    /// The object at `key`; empty when there is none.
    JsonReader object(const char* key) const;
    /// The objects of the list at `key`, which has at most `most`.
    std::vector<JsonReader> objects(const char* key, int most) const;
    /// The plain JSON object, for readers of their own.
    const QJsonObject& getObject() const { return m_Object; }

    /// A finite number from `least` to `most`.
    void read(const char* key, double least, double most, double& value) const;
    void read(const char* key, bool& value) const;
    /// A text without control characters.
    void read(const char* key, QString& value) const;
    /// One of the words, as its index.
    void readWord(const char* key, const std::vector<const char*>& words, int& index) const;
    /// As many finite numbers as the array holds.
    template <std::size_t N>
    void read(const char* key, std::array<double, N>& values) const
    {
        readNumbers(key, values.data(), N);
    }

private:
    JsonReader(const QJsonObject& object, QString* error, const QString& place)
        : m_Object(object), mp_Error(error), m_Place(place)
    {}
    QString placeOf(const char* key) const;
    void readNumbers(const char* key, double* values, std::size_t count) const;

    QJsonObject m_Object;
    QString* mp_Error; ///< not owned
    QString m_Place;   ///< of the object, e.g. "views[1].camera"; empty: the whole file
};

} // namespace tov::app
