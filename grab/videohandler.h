#pragma once

#include "kernel/main/export.h"

#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

class QIODevice;
class QImage;
class QOffscreenSurface;
class QOpenGLContext;
class QOpenGLFramebufferObject;

namespace tov::gui {
class ScenePanel;
}

namespace tov::scene {
class SceneDrawer;
class SceneElement;
} // namespace tov::scene

namespace tov::grab {

namespace video {
class Encoder;
}

/// One recording of one scene panel: renders the panel's view frame by frame on a capture thread, collects the raw
/// frames in chunks and hands the chunks to an encoder. End a recording with `stopGrabbing` or `abortGrabbing`.
class TOV_EXPORT VideoHandler : public QObject
{
    Q_OBJECT
public:
    VideoHandler();
    /// Aborts the recording, and waits until the workers that it has posted have run. Must not be called inside a
    /// worker while such a worker is pending, because workers run one after the other: the process ends with a fatal
    /// message. Thread: any except a capture thread.
    ~VideoHandler() override;

    /// Starts a free-running recording with one frame per 40 ms. Sizes in pixels, rounded up to even numbers; if either
    /// is 0, both are taken from the panel. False, logged, if the recording could not start. Thread: application.
    bool startGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel);
    /// Starts a recording that steps through the selected trajectory, one frame per position, from the current position
    /// on. Otherwise like `startGrabbing`. Thread: application.
    bool startSyncedGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel);
    /// Ends the capture and waits until everything captured has been encoded. Thread: command.
    void stopGrabbing();
    /// Ends the capture, drops what is not encoded yet and removes the output file. Thread: command.
    void abortGrabbing();
    /// True between a successful start and the end of the recording. Thread: any.
    bool isGrabbing() const;

signals:
    /// Percent of the trajectory while capturing, percent of the remaining chunks while the rest is encoded; -1 if
    /// unknown. Emitted on the capture thread or the runner thread.
    void progressChanged(int percent);
    /// The capture has ended and the last chunk has been handed over. Emitted on the capture thread.
    void grabbingFinished();

private slots:
    /// Waits for the current frame, then forgets the panel. Thread: the one that destroys the panel.
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
    QImage renderFrame(tov::scene::SceneElement* root);
    void releaseGL();
    void reset();
    void endCapture();

    bool m_Running = false; ///< reached through `load` and `store`
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
    qint32 m_ChunkSize =
        104857600; ///< bytes; 100 MiB until the start reads the settings, which are in units of 1000000 bytes
    int m_Fps = 25;
    int m_Bitrate; ///< bits per second; set by the start
    bool m_UseMemory = true;
    QMutex m_Mutex;                ///< held for the whole of each frame
    bool m_ReleasePending = false; ///< `releaseGL` is posted but has not run yet; reached through `load` and `store`
};

} // namespace tov::grab
