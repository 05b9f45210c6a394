#pragma once

#include "kernel/commands/command.h"
#include "kernel/main/export.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>

#include <memory>
#include <mutex>
#include <set>

class QFileDialog;
class QSemaphore;

namespace tov::gui {
class ScenePanel;
}

namespace tov::grab {
class VideoHandler;
}

namespace tov::main {
class Event;
class ParameterPanelFactory;
} // namespace tov::main

namespace tov::commands::grab {

/// The command "grabvideo": records a video of the active scene panel. The prototype follows the active panel and is
/// cloned for each recording. Several panels can be recorded at the same time, each of them by one command.
class TOV_EXPORT GrabVideo : public QObject, public tov::main::Command
{
    Q_OBJECT
public:
    static const char* CommandName;
    static bool m_Registered;
    /// A new command; the caller owns it. Thread: application.
    static tov::main::Command* create();

    /// Disabled until a panel is announced. Thread: application.
    GrabVideo();
    ~GrabVideo() override;

    /// A copy for one recording, which does not follow the active panel. This command is disabled until that recording
    /// enables it again. The caller owns the copy. Thread: application.
    tov::main::Command* clone() const override;
    /// Records until `abort` is called, the trajectory ends or the panel is closed. Returns when the file is written.
    /// All failures are logged. Thread: command.
    void execute() override;
    /// Stops the recording; the captured frames are encoded. Before the first `execute` it stops that run as soon as it
    /// has started; after a run has ended it does nothing. Thread: any.
    void abort() override;

    /// The save dialog of the parameter "filename", with the formats of the loaded encoders. The caller owns it.
    /// Thread: application.
    QFileDialog* createSaveDialog();
    /// Handler of "SCENEPANEL_CHANGED". Thread: application.
    void scenePanelChanged(const tov::main::Event* event);

private slots:
    void grabbingPanelClosed();
    void grabbingFinished();
    void progressChanged(int value);

private:
    /// The arguments of a run.
    struct Request
    {
        QString fileName;
        int width = 0;
        int height = 0;
        bool synced = false;
    };

    bool readParameters(Request& request);
    void acceptStops(bool accepts);
    void run();
    bool begin(const Request& request);
    void forgetPanel();
    void enableOrigin();
    void releaseWaiter();
    void disconnectPanel();

    // Both are used on the application thread only, where the event callback runs as well, so they need no lock.
    static QPointer<tov::gui::ScenePanel> mp_ActivePanel;
    static std::set<tov::gui::ScenePanel*> m_PanelSet; ///< the panels that are being recorded

    tov::main::ParameterPanelFactory* mp_PanelFactory = nullptr; ///< owned
    tov::gui::ScenePanel* mp_GrabbedPanel = nullptr;             ///< not owned; application thread only
    QSemaphore* mp_WaitSemaphore = nullptr;                      ///< owned; guarded by m_WaitMutex
    tov::grab::VideoHandler* mp_Handler = nullptr;               ///< owned
    GrabVideo* mp_Origin = nullptr;                              ///< the prototype of a copy; not owned
    bool m_PanelClosed = false;                                  ///< reached through std::atomic_ref
    bool m_AcceptsStops = true; ///< guarded by m_WaitMutex; false after a run has ended
    bool m_StopPending = false; ///< guarded by m_WaitMutex; `abort` was called before there was a semaphore
    bool m_PanelLetGo = false;  ///< guarded by m_WaitMutex; this run ignores the end of the panel
    QMetaObject::Connection m_PanelConnection;    ///< guarded by m_WaitMutex; disconnected on the application thread
    QMetaObject::Connection m_FinishedConnection; ///< of the handler
    QMetaObject::Connection m_ProgressConnection; ///< of the handler
    std::mutex m_WaitMutex;                       ///< `abort` may be called before and after a run, too
};

} // namespace tov::commands::grab
