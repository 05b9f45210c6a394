#pragma once

#include <QString>
#include <QStringList>

#include <map>

namespace tov::app {

/// A command line, split into its parts by the table of options: a verb, options with their values, files.
struct Options
{
    QString verb;                          ///< empty: the window
    std::map<QString, QStringList> values; ///< by option, without the dashes; a flag has one empty value per mention
    QStringList files;

    bool has(const QString& option) const { return values.count(option) > 0; }
    /// The last value given, or null.
    QString value(const QString& option) const { return has(option) ? values.at(option).last() : QString(); }
};

/// Splits the arguments (without the program's name). On failure returns false and sets `error` to one line that
/// ends with a reference to the help. Thread: any.
bool readOptions(const QStringList& arguments, Options& options, QString* error);
/// The same for the arguments of a verb, e.g. of one line of a job list; `options.verb` is set by the caller.
bool readVerbOptions(const QStringList& arguments, Options& options, QString* error);

/// The help of a verb, or of the whole program for an empty one. Thread: any.
QString helpText(const QString& verb);

} // namespace tov::app
