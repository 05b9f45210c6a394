#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

namespace tov::app {

/// The longest of the known endings (lower case, without the dot) that the file name ends with; empty when it has none.
/// Thread: any.
QString longestEnding(const QString& fileName, const QStringList& endings);

/// The names of the pictures that a list of frames (the format "frames") names, which are next to it; nothing for other
/// files. Names that our encoder does not give are left out. Thread: any.
QStringList listedPictures(const QString& fileName);

/// A file that is written under a temporary name in the same folder and gets its own name when it is complete, so that
/// an older file of that name is never touched by a run that fails or is killed. What a killed run had written stays
/// under the temporary name: "film~partial.mp4" for "film.mp4". Thread: application.
class SafeOutput
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::SafeOutput)
public:
    /// `ending` is the format: an ending of `fileName`, without the dot.
    SafeOutput(const QString& fileName, const QString& ending);
    SafeOutput(const SafeOutput&) = delete;
    SafeOutput& operator=(const SafeOutput&) = delete;

    QString getFileName() const { return m_FileName; }
    /// Where to write. It has no dots but those of the ending.
    QString getTemporaryName() const { return m_TemporaryName; }
    /// Makes sure that the temporary name is free: removes what a killed run left there. False with one line in `error`
    /// when it cannot be removed.
    bool prepare(QString* error);
    /// Gives the file its name, in place of an older one. On failure false with one line in `error`, and the file stays
    /// under the temporary name.
    bool commit(QString* error);
    /// Removes what was written.
    void discard();

private:
    bool commitPictures(QString* error);

    QString m_FileName;
    QString m_TemporaryName;
};

} // namespace tov::app
