#pragma once

#include <QString>
#include <QStringList>

#include <map>

namespace tov::app {

/// The command line, read but not yet understood: a verb, options with their values, files.
struct Options
{
    QString verb;                          ///< empty: the window
    std::map<QString, QStringList> values; ///< by option, without the dashes; a flag has one empty value a mention
    QStringList files;

    bool has(const QString& option) const { return values.count(option) > 0; }
    /// The last value given; null when there is none.
    QString value(const QString& option) const { return has(option) ? values.at(option).last() : QString(); }
};

/// Reads the arguments (without the program's name). On failure false and one line in `error` that ends with where to
/// find help.
bool readOptions(const QStringList& arguments, Options& options, QString* error);

/// The help of a verb, or of the whole program for an empty one.
QString helpText(const QString& verb);

} // namespace tov::app
