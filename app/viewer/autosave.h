#pragma once

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class QLockFile;

namespace tov::viewer {

class NoticeBar;
class SceneDocument;

/// Keeps a copy of the scene in the cache folder while the window is open. A copy that is left over belongs to a window
/// that crashed, and is offered to the user. Each copy has a lock file, so that windows leave each other's alone.
/// Thread: application.
class Autosave : public QObject
{
    Q_OBJECT
public:
    /// Both must outlive this object.
    Autosave(SceneDocument* document, NoticeBar* notices, QObject* parent);
    /// Removes the copy, and copies that were offered: the window was closed regularly.
    ~Autosave() override;

    /// Shows a notice for each session that crashed, at most `MostOffers`.
    void offerCrashed();
    /// How long after a change the copy is written, in milliseconds (initially 3000).
    void setDelay(int milliseconds) { m_Timer.setInterval(milliseconds); }
    /// The name of this window's copy; empty when none can be written.
    QString getFileName() const { return m_FileName; }
    /// Leaves the copy in place at the end, to be offered at the next start: the user could not be asked.
    void keep() { m_IsKept = true; }

    static constexpr int MostOffers = 3;

signals:
    /// The copy was written, or removed because the scene is empty.
    void stored();

private:
    struct Crashed
    {
        QString fileName;
        std::unique_ptr<QLockFile> lock;
    };
    void lockOwn();
    void store();
    void offer(const QString& fileName);

    SceneDocument* mp_Document; ///< not owned
    NoticeBar* mp_Notices;      ///< not owned
    QString m_FileName;
    std::unique_ptr<QLockFile> mp_Lock;
    std::vector<Crashed> m_Crashed; ///< those that were offered
    QByteArray m_Stored;            ///< what the copy holds
    QTimer m_Timer;
    bool m_IsKept = false;
};

} // namespace tov::viewer
