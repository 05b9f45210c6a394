#pragma once

#include <QString>

#include <cstddef>

namespace tov::app {

/// What may follow an option.
enum class OptionValue
{
    None,
    Required,
    Number, ///< optional: the next argument is the value if it is a number
    Name,   ///< optional: the next argument is the value if it is neither an option nor an existing file
};

/// One row of the table of options, from which parsing, help, manual page and shell completion are made.
struct OptionSpec
{
    const char* name; ///< without the dashes
    char shortName;   ///< 0 = none
    OptionValue value;
    const char* placeholder;  ///< of the value in the help; empty without a value
    const char* verbs;        ///< separated by blanks; "*" = all, and the window; "" = the window
    const char* group;        ///< heading in the help, untranslated
    const char* help;         ///< not translated
    const char* choices = ""; ///< values that the shell completes, separated by blanks; FILE = file names
};

/// One row of the table of verbs.
struct VerbSpec
{
    const char* name;
    const char* usage;
    bool takesFiles;
    const char* help; ///< not translated
};

/// A row of a table that ends at `begin + count`.
template <typename T>
struct Table
{
    const T* rows;
    std::size_t count;
    const T* begin() const { return rows; }
    const T* end() const { return rows + count; }
};

/// In the order of the help: rows of a group are next to each other. Thread: any.
Table<OptionSpec> optionTable();
Table<VerbSpec> verbTable();

/// How an option is written, e.g. "-o, --output OUT". Thread: any.
QString optionUsage(const OptionSpec& option);
/// True when the option exists for the verb; an empty verb is the window. Thread: any.
bool isOptionOf(const OptionSpec& option, const QString& verb);
/// Null if the name is unknown. Thread: any.
const VerbSpec* findVerb(const QString& name);
const OptionSpec* findOption(const QString& name);
const OptionSpec* findOption(QChar shortName);

} // namespace tov::app
