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
/// under the temporary name: "film~partial.mp4" for "film.mp4". The temporary file is locked, so that two processes
/// never write the same one. Thread: any, one at a time.
class SafeOutput
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::SafeOutput)
public:
    /// What becomes of an older file of that name.
    enum class Older
    {
        Replace,
        Keep, ///< the new file is then refused, also when the older one appears while the new one is written
    };
    /// `ending` is the format: an ending of `fileName`, without the dot.
    SafeOutput(const QString& fileName, const QString& ending, Older older = Older::Replace);
    /// Unlocks the temporary file; neither commits nor removes it.
    ~SafeOutput();
    SafeOutput(const SafeOutput&) = delete;
    SafeOutput& operator=(const SafeOutput&) = delete;

    QString getFileName() const { return m_FileName; }
    /// Where to write. It has no dots but those of the ending.
    QString getTemporaryName() const { return m_TemporaryName; }
    /// Makes the temporary file: empty and locked. What a killed run left there is removed. False with one line in
    /// `error` when it cannot be made, or when another process is writing the same file.
    bool prepare(QString* error);
    /// Gives the file its name, in place of an older one, whose permissions it takes. On failure false with one line in
    /// `error`, and the file stays under the temporary name. The older file is replaced in one step. A list of pictures
    /// is replaced in the same way, so it never mixes the pictures of two recordings.
    bool commit(QString* error);
    /// Removes what was written.
    void discard();

private:
    bool rename(QString* error);
    void renamePictures(const QStringList& older);
    bool openTemporary(QString* error);
    bool lockReplacement();

    QString m_FileName;
    QString m_Target; ///< `m_FileName`, or what it links to
    QString m_TemporaryName;
    Older m_Older;
    int m_Lock = -1; ///< the temporary file, open and locked
};

} // namespace tov::app
