#pragma once

#include "kernel/commands/commandprocessor.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <map>

namespace tov::app {

/// Looks after the disks that recordings fill: those of their files and of the temporary folder. When one has less room
/// than the setting "settings/lowspacelimit" says (MB, 50 at first; 0 = never), what runs there is stopped as by Stop:
/// what was captured is kept. Looks each second, more often the less room there is. Thread: application.
class SpaceWatch : public QObject
{
    Q_OBJECT
public:
    explicit SpaceWatch(QObject* parent = nullptr);

    /// False when a recording into this file would be stopped at once; `error` then says why, in one line. Thread: any.
    static bool hasRoom(const QString& fileName, QString* error);

    /// The room on the fuller of the disks that a run writes to, bytes; -1 = unknown, or it writes no file.
    qint64 getRoom(quint64 run) const;
    /// About how much waits to be encoded, bytes: what the process has in unnamed temporary files, and the memory that
    /// it has taken since the run began, all recordings together. 0 for what is no recording.
    qint64 getWaiting(quint64 run) const;
    /// Both in a few words, empty where nothing is known.
    QString describe(quint64 run) const;

signals:
    /// Once a run, with a sentence for the person.
    void lowSpace(const QString& text);
    /// Each second while something runs.
    void measured();

private:
    struct Watched
    {
        tov::main::CommandRunPointer run;
        QString folder;
        qint64 room = -1;
        qint64 waiting = 0;
        qint64 memoryBefore = 0;
        bool told = false;
    };
    void look();
    void measureWaiting();

    QTimer m_Clock;
    QElapsedTimer m_SinceTold;            ///< since `measured`
    std::map<quint64, Watched> m_Watched; ///< by run
};

} // namespace tov::app
