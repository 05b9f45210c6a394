#pragma once

#include "kernel/main/export.h"

#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

class QIODevice;
class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLFramebufferObject;

namespace tov::gui {
class ScenePanel;
}

namespace tov::scene {
class SceneDrawer;
}

namespace tov::grab {

namespace video {
class Encoder;
}

/// One recording of one scene panel: renders its view frame after frame on a capture thread, collects the raw frames in
/// chunks and hands them to an encoder. Started once, ended with `stopGrabbing` or `abortGrabbing`.
class TOV_EXPORT VideoHandler : public QObject
{
    Q_OBJECT
public:
    VideoHandler();
    /// Aborts what is under way and waits until nothing that was posted can reach the object any more. Thread: any that
    /// is no capture thread.
    ~VideoHandler() override;

    /// Starts a free-running recording, paced at one frame per 40 ms. Sizes in pixels, rounded up to even numbers; 0
    /// for either takes both from the panel. False, logged, when it could not start. Thread: application.
    bool startGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel);
    /// Starts a recording that steps the selected trajectory, one frame a position from the current one on.
    /// Thread: application.
    bool startSyncedGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel);
    /// Ends the capture and waits until everything captured has been encoded. Thread: command.
    void stopGrabbing();
    /// Ends the capture, drops what is not encoded and removes the output. Thread: command.
    void abortGrabbing();
    /// True between a successful start and the end. Thread: that of its caller.
    bool isGrabbing() const;

signals:
    /// Percent: of the trajectory while capturing, of the chunks while the rest is encoded; -1 = busy. Emitted on the
    /// capture or runner thread.
    void progressChanged(int percent);
    /// The capture has ended and the last chunk has been handed over. Emitted on the capture thread.
    void grabbingFinished();

private slots:
    /// Waits for the frame in work, then lets the panel go. Runs on the thread that destroys the panel.
    void panelDestroyed(QObject* panel);

private:
    class Grabber;
    class SyncedGrabber;

    bool start(Grabber* grabber, const QString& filename, int width, int height, tov::gui::ScenePanel* panel,
               QThread::Priority priority);
    bool initStart(const QString& filename, int width, int height, tov::gui::ScenePanel* panel);
    bool initGL();
    bool initGLFailed();
    void getMaxTextureSize(int& size);
    void grabPicture(QIODevice* chunk);
    void releaseGL();
    void reset();
    void endCapture();

    bool m_Running = false;
    QString m_FileName;
    tov::gui::ScenePanel* mp_Panel = nullptr;     ///< not owned; guarded by m_Mutex while capturing
    Grabber* mp_Grabber = nullptr;                ///< owned
    QOpenGLFramebufferObject* mp_Fbo = nullptr;   ///< owned
    QOpenGLContext* mp_Context = nullptr;         ///< owned
    QOffscreenSurface* mp_Surface = nullptr;      ///< owned
    tov::scene::SceneDrawer* mp_Drawer = nullptr; ///< owned
    int m_Width;                                  ///< pixels, even; set by the start
    int m_Height;                                 ///< pixels, even; set by the start
    int m_MaxTextureSize = 0;                     ///< pixels
    video::Encoder* mp_Encoder = nullptr;         ///< owned
    qint32 m_ChunkSize = 104857600;               ///< bytes; 100 MiB until the settings are read, which count in MB
    int m_Fps = 25;
    int m_Bitrate; ///< bits a second; set by the start
    bool m_UseMemory = true;
    QMutex m_Mutex; ///< held for the whole of each frame
};

} // namespace tov::grab
