#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <optional>

namespace tov::app {

/// The facts about a part that has been recorded, stored next to the part.
struct PartRecord
{
    qint64 frames = 0;
    qint64 bytes = 0;
    double elapsed = 0; ///< seconds that the recording took
    QString renderer;   ///< the OpenGL renderer that drew it
    QString host;
    QString digest; ///< SHA-256 of the files
};

/// The folder "film.mp4.parts" next to an output "film.mp4", which holds the parts of recordings until they are joined:
/// "<key>-3of8.mp4", its record "<key>-3of8.json", and its lock while a process records it. A part without a
/// record that matches it does not count. Thread: any, one at a time.
class PartFolder
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::PartFolder)
public:
    /// `key` names the recording, see `partKey`; `ending` is its format.
    PartFolder(const QString& output, const QString& ending, const QString& key, int parts);

    QString path() const { return m_Path; }
    QString getKey() const { return m_Key; }
    QString videoName(int part) const;
    QString lockName(int part) const;
    /// Of the process that joins the parts.
    QString joinLockName() const;
    /// Makes the folder unless it exists; false with one line in `error` on failure.
    bool create(QString* error) const;

    /// The record of a part whose files exist with the size that they had; no value for other parts.
    std::optional<PartRecord> findRecord(int part) const;
    /// The same, after comparing the content of the files with the record.
    std::optional<PartRecord> verify(int part) const;
    /// Whether there are files of the part; without a record they are damaged, or not ours.
    bool hasVideo(int part) const;
    /// Measures the finished files of a part and stores its record; false with one line in `error` on failure.
    bool writeRecord(int part, PartRecord record, QString* error) const;

    /// Removes everything that belongs to the recording, except the lock of the joining process, which calls this.
    void removeParts() const;
    /// Removes the folder if it is empty.
    void removeIfEmpty() const;
    /// True when the folder holds parts of another recording, or of another number of parts.
    bool hasOthers() const;

private:
    QString baseName(int part) const;
    QString recordName(int part) const;
    QStringList filesOf(int part) const;
    qint64 sizeOf(int part) const;
    QString digestOf(int part) const;

    const QString m_Path, m_Ending, m_Key;
    const int m_Parts;
};

} // namespace tov::app
