#pragma once

#include "app/cli/options/options.h"

#include <QCoreApplication>

#include <array>
#include <optional>

namespace tov::app {

/// Reads values of options, and keeps the first error. Values of options that are not given are left as they are.
/// Thread: any.
class OptionReader
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::OptionReader)
public:
    explicit OptionReader(const Options& options) : m_Options(options) {}

    bool has(const char* option) const { return m_Options.has(QLatin1String(option)); }
    QString text(const char* option) const { return m_Options.value(QLatin1String(option)); }
    /// All values of an option that may be repeated.
    QStringList texts(const char* option) const;

    /// A whole number from `least` to `most`.
    void readInt(const char* option, int least, int most, int& value);
    /// A finite number from `least` to `most`.
    void readNumber(const char* option, double least, double most, double& value);
    /// The same with an optional unit.
    void readDegrees(const char* option, double least, double most, double& value);
    /// A percentage, with or without the percent sign.
    void readPercent(const char* option, double least, double most, double& value);
    /// A time above 0 in seconds.
    void readSeconds(const char* option, double& value);
    /// A time in seconds, at least 0.
    void readTime(const char* option, double& value);
    /// One of a list of words.
    void readWord(const char* option, const QStringList& words, QString& value);
    /// "x,y,z"
    void readVector(const char* option, std::optional<std::array<double, 3>>& value);
    void readSize(const char* option, QSize& value);

    /// Stores the error unless there is an earlier one.
    void fail(const QString& message);
    bool hasFailed() const { return !m_Error.isEmpty(); }
    /// Empty if there is no error.
    QString getError() const { return m_Error; }

private:
    void readNumberIn(const QString& numberText, const char* option, double least, double most, double& value);

    const Options& m_Options;
    QString m_Error;
};

} // namespace tov::app
