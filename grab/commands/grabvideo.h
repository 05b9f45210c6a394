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
/// cloned for each recording; several panels may be recorded at once, one panel only once.
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

    /// A copy that records, and no longer follows the active panel; this one is disabled until the recording lets it
    /// go. The caller owns the copy. Thread: application.
    tov::main::Command* clone() const override;
    /// Records until stopped, until the trajectory has been walked or until the panel is closed; returns when the file
    /// is written. All failures are logged. Thread: command.
    void execute() override;
    /// Stops the recording; what was captured is encoded. Thread: any.
    void abort() override;

    /// The save dialog of the parameter "filename", with the formats that encoders are loaded for; the caller owns it.
    /// Thread: application.
    QFileDialog* createSaveDialog();
    /// Handler of "SCENEPANEL_CHANGED". Thread: application.
    void scenePanelChanged(const tov::main::Event* event);

private slots:
    void grabbingPanelClosed();
    void grabbingFinished();
    void progressChanged(int value);

private:
    /// What the run is asked for.
    struct Request
    {
        QString fileName;
        int width = 0;
        int height = 0;
        bool synced = false;
    };

    bool readParameters(Request& request);
    bool begin(const Request& request);
    void forgetPanel();
    void enableOrigin();
    void releaseWaiter();
    void disconnectPanel();

    // Both are touched on the application thread only, where the event callback runs too: there is no lock.
    static QPointer<tov::gui::ScenePanel> mp_ActivePanel;
    static std::set<tov::gui::ScenePanel*> m_PanelSet; ///< those under recording

    tov::main::ParameterPanelFactory* mp_PanelFactory = nullptr; ///< owned
    tov::gui::ScenePanel* mp_GrabbedPanel = nullptr;             ///< not owned; application thread only
    QSemaphore* mp_WaitSemaphore = nullptr;                      ///< owned; guarded by m_WaitMutex
    tov::grab::VideoHandler* mp_Handler = nullptr;               ///< owned
    GrabVideo* mp_Origin = nullptr;                              ///< the prototype of a copy; not owned
    bool m_PanelClosed = false;                                  ///< reached through std::atomic_ref
    bool m_StopPending = false; ///< guarded by m_WaitMutex; an abort came before there was something to wait for
    bool m_PanelLetGo = false;  ///< guarded by m_WaitMutex; the panel's end no longer concerns this run
    QMetaObject::Connection m_PanelConnection;    ///< guarded by m_WaitMutex; cut on the application thread
    QMetaObject::Connection m_FinishedConnection; ///< the handler's
    QMetaObject::Connection m_ProgressConnection; ///< the handler's
    std::mutex m_WaitMutex;                       ///< an abort may come before the beginning and after the end
};

} // namespace tov::commands::grab
