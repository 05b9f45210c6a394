#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

class QMainWindow;

namespace tov::viewer {

class FileOpener;
class PictureExport;
class SafeRuns;

/// Ends all runs before the window closes. A user is asked first; a signal or the end of the session is not, because
/// there may be nobody to answer. Thread: application.
class QuitGuard : public QObject
{
    Q_OBJECT
public:
    /// What keeps the window open; all of it must outlive the guard.
    struct Work
    {
        FileOpener* opener;
        const SafeRuns* outputs;
        const PictureExport* pictures;
    };
    /// `window` is closed again when all work has ended; `saveLayout` is called before the program exits with work
    /// still running. Both must outlive the guard.
    QuitGuard(QMainWindow* window, const Work& work, std::function<void()> saveLayout);

    /// True when the window may close now. Otherwise the user refused, or the window will close by itself later.
    bool mayClose();
    /// Stops everything without asking and closes the window as soon as it can.
    void quitWithoutAsking();
    /// The window stays open although nothing keeps it from closing: the user wants to go on.
    void stayOpen();
    bool isClosing() const { return m_Closing; }
    /// False once the window has to close without questions.
    bool mayAsk() const { return m_MayAsk; }

private:
    bool isAnythingRunning() const;
    QStringList describeWork() const;
    bool askUser();
    void stopAll();
    void closeIfDone();
    void offerToLeave();

    QMainWindow* mp_Window; ///< not owned
    const Work m_Work;
    std::function<void()> m_SaveLayout;
    bool m_Closing = false;
    bool m_MayAsk = true;
};

} // namespace tov::viewer
