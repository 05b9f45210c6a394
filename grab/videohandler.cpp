#include "grab/videohandler.h"

#include "grab/applicationthread.h"
#include "grab/drawinglost.h"
#include "grab/memoryfeeder.h"
#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/log/logger.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "kernel/workers/workerdelegate.h"
#include "scene/globalscene.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QTemporaryFile>
#include <QTime>

#include <GL/gl.h>
#include <GL/glu.h>

#include <atomic>
#include <functional>
#include <limits>
#include <new>

#include <sys/sysinfo.h>

namespace tov::grab {

using tov::log::Logger;
using tov::main::Overseer;
using tov::main::WorkerDelegate;
using tov::scene::SceneDrawer;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;
using tov::util::Delegate0;
using tov::util::FunctionDelegate;

namespace {

const char* const SourceFile = "videohandler";
constexpr int ErrorLevel = tov::log::LevelError;

/// Time for a frame of a free-running recording, in milliseconds; fixed, whatever rate the video is played at.
constexpr int PaceMs = 40;
/// Vertical field of view of videos, in degrees.
constexpr double FieldOfView = 45.0;
/// A memory chunk is one byte array, which ends below 2 GiB.
constexpr quint64 MaxBuffer = quint64(std::numeric_limits<int>::max()) - 4096;

/// Flags are plain fields that two threads share.
bool load(bool& flag)
{
    return std::atomic_ref<bool>(flag).load();
}

void store(bool& flag, bool value)
{
    std::atomic_ref<bool>(flag).store(value);
}

void logError(int line, const char* function, const QString& message)
{
    Logger::log(ErrorLevel, SourceFile, line, function, nullptr, message);
}

/// Returns once everything that was handed to the application thread before has run there, and every slot that it was
/// in has returned.
void barrier()
{
    onApplicationThread([] {});
}

/// The next even number, in unsigned arithmetic.
int roundedUpToEven(int size)
{
    return int((unsigned(size) + 1u) & ~1u);
}

} // namespace

/// Free-running capture.
class VideoHandler::Grabber : public QThread
{
public:
    explicit Grabber(VideoHandler* handler) : mp_Handler(handler) { setObjectName(QStringLiteral("Grabber")); }
    ~Grabber() override {}
    void run() override;
    void stop() { store(m_Stop, true); }

    /// A new, open chunk in memory or in a file; null, logged, when it cannot be made. Thread: capture.
    QIODevice* createChunkFile();
    /// Whether a whole chunk fits into the memory that is free now. Thread: capture.
    bool hasEnoughMemory();
    std::size_t frameBytes() const { return std::size_t(mp_Handler->m_Width) * std::size_t(mp_Handler->m_Height) * 4; }

protected:
    /// Hands a full chunk over and makes the next one; null when that fails. Thread: capture.
    QIODevice* rotated(QIODevice* chunk);

public:
    bool m_Stop = false;      ///< reached through `load` and `store`
    VideoHandler* mp_Handler; ///< not owned
};

/// Capture stepped along the selected trajectory.
class VideoHandler::SyncedGrabber : public VideoHandler::Grabber
{
public:
    explicit SyncedGrabber(VideoHandler* handler) : Grabber(handler) { setObjectName(QStringLiteral("SyncedGrabber")); }
    ~SyncedGrabber() override {}
    void run() override;
};

VideoHandler::VideoHandler() {}

VideoHandler::~VideoHandler()
{
    abortGrabbing();
    barrier();
}

bool VideoHandler::startGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel)
{
    return start(new Grabber(this), filename, width, height, panel, QThread::HighestPriority);
}

bool VideoHandler::startSyncedGrabbing(const QString& filename, int width, int height, tov::gui::ScenePanel* panel)
{
    return start(new SyncedGrabber(this), filename, width, height, panel, QThread::InheritPriority);
}

bool VideoHandler::start(Grabber* grabber, const QString& filename, int width, int height, tov::gui::ScenePanel* panel,
                         QThread::Priority priority)
{
    mp_Grabber = grabber;
    if (!initStart(filename, width, height, panel)) {
        delete mp_Grabber;
        mp_Grabber = nullptr;
        // Nothing tells a recording that does not run when its panel goes.
        mp_Panel = nullptr;
        return false;
    }
    mp_Grabber->start(priority);
    if (mp_Grabber->isRunning() || mp_Grabber->isFinished())
        return true;
    // The system gives no thread. The OpenGL objects, which belong to it already, stay, as after any refused start.
    logError(__LINE__, __func__, QObject::tr("There is no thread to record video '%1' with").arg(m_FileName));
    abortGrabbing();
    return false;
}

void VideoHandler::stopGrabbing()
{
    if (mp_Grabber) {
        mp_Grabber->stop();
        mp_Grabber->wait();
    }
    if (mp_Encoder)
        mp_Encoder->waitForFinish();
    reset();
}

void VideoHandler::abortGrabbing()
{
    if (mp_Grabber) {
        mp_Grabber->stop();
        mp_Grabber->wait();
    }
    if (mp_Encoder)
        mp_Encoder->abortEncoding();
    reset();
}

bool VideoHandler::isGrabbing() const
{
    return m_Running;
}

void VideoHandler::panelDestroyed(QObject*)
{
    m_Mutex.lock();
    mp_Panel = nullptr;
    m_Mutex.unlock();
}

void VideoHandler::reset()
{
    // What the capture thread posted has run when this returns, and no panel is inside its slot any more.
    barrier();
    delete mp_Grabber;
    mp_Grabber = nullptr;
    delete mp_Encoder;
    mp_Encoder = nullptr;
    m_Running = false;
    // Where panels die, so that this one does not die in the middle.
    onApplicationThread([this] {
        if (mp_Panel) {
            QObject::disconnect(mp_Panel, nullptr, this, nullptr);
            mp_Panel = nullptr;
        }
    });
    // The OpenGL objects of a start that was refused after they were made stay, by design.
}

bool VideoHandler::initStart(const QString& filename, int width, int height, tov::gui::ScenePanel* panel)
{
    m_FileName = filename;
    mp_Panel = panel;
    if (width == 0 || height == 0) {
        width = panel->width();
        height = panel->height();
    }
    m_Width = roundedUpToEven(width);
    m_Height = roundedUpToEven(height);
    if (!initGL())
        return false;
    if (m_MaxTextureSize < m_Width || m_MaxTextureSize < m_Height) {
        logError(__LINE__, __func__,
                 QObject::tr("You can not grab videos with size %1 x %2 because your max. texture size is %3")
                     .arg(m_Width)
                     .arg(m_Height)
                     .arg(m_MaxTextureSize));
        return false;
    }
    mp_Encoder = video::VideoEncoder::getInstance()->getEncoder(m_FileName);
    if (!mp_Encoder) {
        logError(__LINE__, __func__, QObject::tr("No encoder for file '%1' found").arg(m_FileName));
        return false;
    }
    auto& settings = tovSettings();
    const auto setting = [&settings](const char* key, const char* initial) {
        return settings.value(QLatin1String(key), QLatin1String(initial));
    };
    // Products in unsigned arithmetic, cut down to 32 bits: large settings wrap around.
    m_ChunkSize = qint32(quint32(setting("settings/grabvideotempfilesize", "50").toInt()) * 1000000u);
    m_Fps = setting("settings/grabvideofps", "25").toInt();
    m_Bitrate = int(unsigned(setting("settings/grabvideokbps", "1200").toInt()) * 1000u);
    m_UseMemory = setting("settings/grabvideousememoryasbuffer", "1").toBool();
    m_Running = true;
    // The result is not looked at, on purpose: the encoder has logged a refusal, and the capture goes on.
    mp_Encoder->setOutputParameters(m_FileName, m_Width, m_Height, m_Fps, m_Bitrate);
    connect(mp_Encoder, &video::Encoder::progressChanged, this, &VideoHandler::progressChanged, Qt::DirectConnection);
    connect(mp_Panel, &QObject::destroyed, this, &VideoHandler::panelDestroyed, Qt::DirectConnection);
    return true;
}

void VideoHandler::getMaxTextureSize(int& size)
{
    size = 0;
    if (mp_Panel && mp_Context)
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
}

bool VideoHandler::initGL()
{
    if (QThread::currentThread() != Overseer::getInstance()->getApplicationThread()) {
        bool result = false;
        onApplicationThread([this, &result] { result = initGL(); });
        return result;
    }
    m_MaxTextureSize = 0;
    QOpenGLContext* shared = tov::scene::_GlobalContext()->glContext();
    const QSurfaceFormat format = shared ? shared->format() : QSurfaceFormat();
    mp_Context = new QOpenGLContext;
    mp_Context->setShareContext(shared);
    mp_Surface = new QOffscreenSurface;
    mp_Surface->setFormat(format);
    mp_Surface->create();
    if (!mp_Context->create()) {
        logError(__LINE__, __func__, QObject::tr("Could not create OpenGL context!"));
        return initGLFailed();
    }
    if (!mp_Context->makeCurrent(mp_Surface)) {
        logError(__LINE__, __func__, QObject::tr("Current OpenGL context is invalid!"));
        return initGLFailed();
    }
    getMaxTextureSize(m_MaxTextureSize);
    if (m_MaxTextureSize <= 0) {
        logError(__LINE__, __func__, QObject::tr("Could not determine the maximum texture size"));
        return initGLFailed();
    }
    if (!QOpenGLFramebufferObject::hasOpenGLFramebufferObjects()) {
        logError(__LINE__, __func__, QObject::tr("Your OpenGL implementation doesn't support framebuffer objects"));
        return initGLFailed();
    }
    mp_Fbo = new QOpenGLFramebufferObject(m_Width, m_Height, QOpenGLFramebufferObject::CombinedDepthStencil,
                                          GL_TEXTURE_2D, GL_RGBA8);
    mp_Drawer = new SceneDrawer(Viewer::getInstance()->getGlobalScene());
    mp_Context->doneCurrent();
    mp_Context->moveToThread(mp_Grabber);
    mp_Surface->moveToThread(mp_Grabber);
    return true;
}

bool VideoHandler::initGLFailed()
{
    mp_Context->doneCurrent();
    mp_Surface->destroy();
    delete mp_Context;
    mp_Context = nullptr;
    delete mp_Surface;
    mp_Surface = nullptr;
    return false;
}

void VideoHandler::grabPicture(QIODevice* chunk)
{
    m_Mutex.lock();
    if (!mp_Panel) {
        mp_Grabber->stop();
        m_Mutex.unlock();
        return;
    }
    tov::scene::SharedContext* shared = tov::scene::_GlobalContext();
    const auto scene = tov::scene::_GlobalScene();
    shared->lock();
    scene->lock();
    if (!mp_Context->makeCurrent(mp_Surface)) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Could not make OpenGL context current!");
        mp_Grabber->stop();
        shared->unlock();
        scene->unlock();
        m_Mutex.unlock();
        return;
    }
    if (!mp_Fbo->bind()) {
        // The context stays current, and the next frame tries again.
        logError(__LINE__, __func__, QObject::tr("Couldn't bind FBO to OpenGL context"));
        scene->unlock();
        shared->unlock();
        m_Mutex.unlock();
        return;
    }
    tov::scene::SceneElement* root = Viewer::getInstance()->getGlobalScene()->getRootNode();
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    double projection[16], modelView[16];
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetDoublev(GL_MODELVIEW_MATRIX, modelView);
    // Read but not put back: the context is this recording's own.
    int viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    const QColor background = mp_Drawer->getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
    const tov::math::Matrix<double, 4u, 4u> camera = mp_Panel->getScaledTransformMatrix();
    mp_Drawer->resize(m_Width, m_Height);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(FieldOfView, double(m_Width) / double(m_Height), SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHT0);
    mp_Drawer->glDraw(root, nullptr, camera, 0.0, 65535, 7);
    glFlush();
    // Asked for twice: Qt forgets what stands before it reads.
    const bool spoilt = isDrawingLost();
    const QImage picture = mp_Fbo->toImage();
    // What failed leaves a picture, too, of chance content.
    const bool lost = isDrawingLost() || spoilt;
    if (picture.isNull() || lost) {
        logError(__LINE__, __func__, QObject::tr("Picture couldn't be grabbed by FBO"));
    } else {
        const char* bytes = reinterpret_cast<const char*>(picture.constBits());
        // In 64 bits, where the classic byte count ends at 2 GiB.
        quint64 remaining = quint64(picture.sizeInBytes());
        while (remaining > 0) {
            qint64 written = -1;
            try {
                written = chunk->write(bytes, qint64(remaining));
            } catch (const std::bad_alloc&) {
                // No memory for the chunk to grow: a write that failed.
            }
            if (written == -1) {
                // The part of the frame that was written stays, and the recording goes on.
                Logger::log(
                    ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "%s",
                    QObject::tr("Couldn't write %1 bytes to temporary file").arg(remaining).toLocal8Bit().constData());
                break;
            }
            bytes += written;
            remaining -= quint64(written);
        }
    }
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(projection);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixd(modelView);
    glPopAttrib();
    mp_Fbo->release();
    mp_Context->doneCurrent();
    scene->unlock();
    shared->unlock();
    m_Mutex.unlock();
}

void VideoHandler::releaseGL()
{
    if (QThread::currentThread() != Overseer::getInstance()->getApplicationThread()) {
        // A frame that could not bind has left the context current here, and a current context cannot be moved.
        if (QOpenGLContext::currentContext() == mp_Context)
            mp_Context->doneCurrent();
        mp_Context->moveToThread(QCoreApplication::instance()->thread());
        mp_Surface->moveToThread(QCoreApplication::instance()->thread());
        Overseer::getInstance()->transmitWorker(
            new WorkerDelegate::InternalWorker(new Delegate0<VideoHandler>(this, &VideoHandler::releaseGL), false));
        return;
    }
    // Framebuffer objects are not shared between contexts: this one dies in the context that made it, or it would take
    // one of a panel's with it.
    const bool current = mp_Context && mp_Surface && mp_Context->makeCurrent(mp_Surface);
    if (current || !mp_Context) {
        delete mp_Fbo;
        mp_Fbo = nullptr;
        delete mp_Drawer;
        mp_Drawer = nullptr;
    }
    if (mp_Context)
        mp_Context->doneCurrent();
    if (mp_Surface)
        mp_Surface->destroy();
    delete mp_Context;
    mp_Context = nullptr;
    delete mp_Surface;
    mp_Surface = nullptr;
    delete mp_Fbo;
    mp_Fbo = nullptr;
    delete mp_Drawer;
    mp_Drawer = nullptr;
}

bool VideoHandler::Grabber::hasEnoughMemory()
{
    struct sysinfo info;
    if (sysinfo(&info) != 0)
        return false;
    const quint64 chunk = quint32(mp_Handler->m_ChunkSize);
    // What one byte array cannot hold does not fit, however much is free; a frame may come on top of the limit.
    if (chunk + frameBytes() > MaxBuffer)
        return false;
    return chunk < quint64(info.freeram + info.bufferram) * quint64(info.mem_unit);
}

QIODevice* VideoHandler::Grabber::createChunkFile()
{
    if (mp_Handler->m_UseMemory && hasEnoughMemory()) {
        auto* buffer = new QBuffer;
        if (buffer->open(QIODevice::ReadWrite)) {
            MemoryFeeder::reserve(buffer, quint32(mp_Handler->m_ChunkSize) + frameBytes());
            return buffer;
        }
        // No file instead, on purpose.
        delete buffer;
        buffer = nullptr;
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't create temporary buffer");
        return nullptr;
    }
    auto* file = new QTemporaryFile;
    if (file->open())
        return file;
    delete file;
    file = nullptr;
    Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't open temporary file");
    return nullptr;
}

QIODevice* VideoHandler::Grabber::rotated(QIODevice* chunk)
{
    // Compared as unsigned 32 bits: negative settings mean a very large limit.
    if (chunk->size() < qint64(quint32(mp_Handler->m_ChunkSize)))
        return chunk;
    // Whether the encoder takes it is not looked at, on purpose.
    mp_Handler->mp_Encoder->encodeVideoChunk(chunk, false);
    return createChunkFile();
}

void VideoHandler::endCapture()
{
    releaseGL();
    emit grabbingFinished();
}

void VideoHandler::Grabber::run()
{
    QIODevice* chunk = createChunkFile();
    if (!chunk)
        return; // nothing else happens, by design: whoever stops the recording finds out
    MemoryFeeder feeder;
    int carriedWait = 0;
    // The wall clock on purpose; what it does at midnight or when it is set costs a frame or two.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    QTime clock;
    clock.start();
    while (!load(m_Stop)) {
        chunk = rotated(chunk);
        if (!chunk)
            break;
        feeder.feed(chunk, frameBytes());
        mp_Handler->grabPicture(chunk);
        // The elapsed time contains the sleep before it, and that sleep is taken off once more: frames alternate
        // between a sleep and none. The rhythm is kept as it is.
        const int wait = PaceMs - clock.restart() - carriedWait;
        carriedWait = wait;
        if (wait > 0)
            QThread::msleep(static_cast<unsigned long>(wait));
        else
            carriedWait = 0;
    }
    QT_WARNING_POP
    mp_Handler->mp_Encoder->encodeVideoChunk(chunk, true);
    mp_Handler->endCapture();
}

void VideoHandler::SyncedGrabber::run()
{
    QIODevice* chunk = createChunkFile();
    if (!chunk)
        return; // nothing else happens, by design: whoever stops the recording finds out
    MemoryFeeder feeder;
    TrajectoryHandler* trajectory = TrajectoryHandler::getInstance();
    const int mode = trajectory->getSelectedMode();
    tov::trajectory::TrajectoryInfo* plain = nullptr;
    tov::trajectory::AdvancedTrajectoryInfo* advanced = nullptr;
    quint64 position = 0, count = 0;
    if (mode == TrajectoryHandler::ModePlain) {
        plain = trajectory->getTrajectoryInfo();
        position = plain->getPosition();
        count = plain->getPoints().size();
    } else if (mode == TrajectoryHandler::ModeAdvanced) {
        advanced = trajectory->getAdvancedTrajectoryInfo();
        position = advanced->getPosition();
        count = advanced->getMatrixMapList() ? advanced->getMatrixMapList()->size() : 0;
    }
    if (!load(m_Stop) && position < count) {
        do {
            chunk = rotated(chunk);
            if (!chunk)
                break;
            emit mp_Handler->progressChanged(int(double(position) / double(count) * 100.0));
            if (plain) {
                plain->setPosition(position);
                count = plain->getPoints().size();
            } else {
                advanced->setPosition(position);
                count = advanced->getMatrixMapList()->size();
            }
            ++position;
            feeder.feed(chunk, frameBytes());
            mp_Handler->grabPicture(chunk);
        } while (!load(m_Stop) && count != 0 && count > position);
    }
    mp_Handler->mp_Encoder->encodeVideoChunk(chunk, true);
    mp_Handler->endCapture();
}

} // namespace tov::grab
