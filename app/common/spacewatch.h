#pragma once

#include "kernel/commands/commandprocessor.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <map>

namespace tov::app {

/// Watches the disks that recordings fill: those of their files and of the temporary folder. When one has less free
/// space than the setting "settings/lowspacelimit" (MB, initially 50; 0 = never), its recordings are stopped as with
/// the Stop button: captured frames are kept. Checks every second, more often when space is low. Thread: application.
class SpaceWatch : public QObject
{
    Q_OBJECT
public:
    explicit SpaceWatch(QObject* parent = nullptr);

    /// False when a recording into this file would be stopped at once; `error` then says why, in one line. Thread: any.
    static bool hasRoom(const QString& fileName, QString* error);

    /// Free bytes on the fuller of the disks that a run writes to; -1 = unknown, or it writes no file.
    qint64 getRoom(quint64 run) const;
    /// Approximate bytes that are still to be encoded, for all recordings together: unnamed temporary files, and
    /// the memory allocated since the run began. 0 for anything but a recording.
    qint64 getWaiting(quint64 run) const;
    /// Both as a short text, empty when unknown.
    QString describe(quint64 run) const;

signals:
    /// Once per run, with a sentence for the user.
    void lowSpace(const QString& text);
    /// Every second while something runs.
    void measured();

private:
    struct Watched
    {
        tov::main::CommandRunPointer run;
        QString folder;
        qint64 room = -1;
        qint64 waiting = 0;
        qint64 memoryBefore = 0;
        bool hasReported = false;
    };
    void look();
    void measureWaiting();

    QTimer m_Clock;
    QElapsedTimer m_SinceReport;          ///< since `measured`
    std::map<quint64, Watched> m_Watched; ///< by run
};

} // namespace tov::app
