#include "grab/videohandler.h"

#include "grab/render/applicationthread.h"
#include "grab/render/frame.h"
#include "grab/render/glerror.h"
#include "grab/render/offscreentarget.h"
#include "grab/render/pageprefaulter.h"
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

using render::onApplicationThread;
using render::PagePrefaulter;
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

/// Time per frame of a free-running recording, in milliseconds, whatever the frame rate of the video.
constexpr int PaceMs = 40;
/// Vertical field of view of videos, in degrees.
constexpr double FieldOfView = 45.0;
/// The most bytes of a memory chunk: it is one byte array, which must stay below 2 GiB.
constexpr quint64 MaxBuffer = quint64(std::numeric_limits<int>::max()) - 4096;

/// Two threads share these flags, which are plain fields.
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

/// Returns once all workers that were transmitted before have run, and the application thread has left every slot.
void barrier()
{
    onApplicationThread([] {});
}

/// Rounds up to an even number, in unsigned arithmetic.
int roundUpToEven(int size)
{
    return int((unsigned(size) + 1u) & ~1u);
}

/// Keeps the state of the current context that a frame changes.
class SavedGlState
{
public:
    SavedGlState()
    {
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glGetDoublev(GL_PROJECTION_MATRIX, m_Projection);
        glGetDoublev(GL_MODELVIEW_MATRIX, m_ModelView);
        // Queried, but not restored: the context belongs to this recording alone.
        GLint viewport[4];
        glGetIntegerv(GL_VIEWPORT, viewport);
    }
    void restore()
    {
        glMatrixMode(GL_PROJECTION);
        glLoadMatrixd(m_Projection);
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixd(m_ModelView);
        glPopAttrib();
    }

private:
    double m_Projection[16];
    double m_ModelView[16];
};

/// Appends a frame to a chunk. After a failed write the written part stays in the chunk, and the recording goes on.
void writeFrame(const QImage& picture, QIODevice* chunk)
{
    const char* bytes = reinterpret_cast<const char*>(picture.constBits());
    // 64 bits: a frame may be larger than 2 GiB.
    auto remaining = quint64(picture.sizeInBytes());
    while (remaining > 0) {
        qint64 written = -1;
        try {
            written = chunk->write(bytes, qint64(remaining));
        } catch (const std::bad_alloc&) {
            // The chunk cannot grow: the write has failed.
        }
        if (written == -1) {
            Logger::log(
                ErrorLevel, SourceFile, __LINE__, "grabPicture", nullptr, "%s",
                QObject::tr("Couldn't write %1 bytes to temporary file").arg(remaining).toLocal8Bit().constData());
            return;
        }
        bytes += written;
        remaining -= quint64(written);
    }
}

/// The trajectory that is selected when a recording starts, and the position of its next frame.
class Walk
{
public:
    Walk()
    {
        TrajectoryHandler* handler = TrajectoryHandler::getInstance();
        switch (handler->getSelectedMode()) {
        case TrajectoryHandler::ModePlain:
            mp_Plain = handler->getTrajectoryInfo();
            m_Position = mp_Plain->getPosition();
            m_Count = mp_Plain->getPoints().size();
            break;
        case TrajectoryHandler::ModeAdvanced:
            mp_Advanced = handler->getAdvancedTrajectoryInfo();
            m_Position = mp_Advanced->getPosition();
            m_Count = mp_Advanced->getMatrixMapList() ? mp_Advanced->getMatrixMapList()->size() : 0;
            break;
        default:
            break;
        }
    }
    bool isAtEnd() const { return m_Position >= m_Count; }
    int percent() const { return int(double(m_Position) / double(m_Count) * 100.0); }
    /// Shows the position and goes on to the next one. The trajectory may have changed its length.
    void step()
    {
        if (mp_Plain) {
            mp_Plain->setPosition(m_Position);
            m_Count = mp_Plain->getPoints().size();
        } else {
            mp_Advanced->setPosition(m_Position);
            m_Count = mp_Advanced->getMatrixMapList()->size();
        }
        ++m_Position;
    }

private:
    tov::trajectory::TrajectoryInfo* mp_Plain = nullptr;            ///< not owned
    tov::trajectory::AdvancedTrajectoryInfo* mp_Advanced = nullptr; ///< not owned
    quint64 m_Position = 0;
    quint64 m_Count = 0;
};

} // namespace

/// Free-running capture.
class VideoHandler::Grabber : public QThread
{
public:
    explicit Grabber(VideoHandler* handler) : mp_Handler(handler) { setObjectName(QStringLiteral("Grabber")); }
    ~Grabber() override {}
    void run() override;
    void stop() { store(m_Stop, true); }

    /// A new, open chunk in memory or in a file. Null, logged, if it cannot be opened. Thread: capture.
    QIODevice* createChunkFile();
    /// Whether a whole chunk fits into the free memory. Thread: capture.
    bool hasEnoughMemory();
    std::size_t frameBytes() const { return std::size_t(mp_Handler->m_Width) * std::size_t(mp_Handler->m_Height) * 4; }

protected:
    /// Returns the chunk for the next frame: hands a full one over and makes a new one. Null if that fails.
    /// Thread: capture.
    QIODevice* rotateChunk(QIODevice* chunk, PagePrefaulter& prefaulter);
    /// Hands the last chunk over, releases the OpenGL objects and reports the end. Thread: capture.
    void finishCapture(QIODevice* chunk, PagePrefaulter& prefaulter);

public:
    bool m_Stop = false;      ///< reached through `load` and `store`
    VideoHandler* mp_Handler; ///< not owned
};

/// Capture that steps through the selected trajectory.
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
    // Inside a worker the barrier runs ahead of the workers in the queue.
    if (load(m_ReleasePending))
        qFatal("A video handler must not be destroyed inside of a worker while its own workers are pending");
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
        // The handler is not connected to the panel yet and would not notice its end.
        mp_Panel = nullptr;
        return false;
    }
    mp_Grabber->start(priority);
    if (mp_Grabber->isRunning() || mp_Grabber->isFinished())
        return true;
    // The OpenGL objects, which have been moved to the thread, are kept, as after any refused start.
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
    return load(const_cast<bool&>(m_Running));
}

void VideoHandler::panelDestroyed(QObject*)
{
    m_Mutex.lock();
    mp_Panel = nullptr;
    m_Mutex.unlock();
}

void VideoHandler::reset()
{
    // Workers that the capture thread has posted must have run, and no panel may be inside `panelDestroyed`.
    barrier();
    delete mp_Grabber;
    mp_Grabber = nullptr;
    delete mp_Encoder;
    mp_Encoder = nullptr;
    store(m_Running, false);
    // Panels are destroyed on the application thread, so this one stays alive meanwhile.
    onApplicationThread([this] {
        if (mp_Panel) {
            QObject::disconnect(mp_Panel, nullptr, this, nullptr);
            mp_Panel = nullptr;
        }
    });
    // OpenGL objects of a refused start stay allocated, on purpose.
}

bool VideoHandler::initStart(const QString& filename, int width, int height, tov::gui::ScenePanel* panel)
{
    m_FileName = filename;
    mp_Panel = panel;
    if (width == 0 || height == 0) {
        width = panel->width();
        height = panel->height();
    }
    m_Width = roundUpToEven(width);
    m_Height = roundUpToEven(height);
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
    // The products wrap around modulo 2^32, so they are computed as unsigned values.
    m_ChunkSize = qint32(quint32(setting("settings/grabvideotempfilesize", "50").toInt()) * 1000000u);
    m_Fps = setting("settings/grabvideofps", "25").toInt();
    m_Bitrate = int(unsigned(setting("settings/grabvideokbps", "1200").toInt()) * 1000u);
    m_UseMemory = setting("settings/grabvideousememoryasbuffer", "1").toBool();
    store(m_Running, true);
    // The result is ignored on purpose: the encoder has logged a refusal, and the capture goes on.
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
    const render::SharedFormat shared = render::sharedFormat();
    mp_Context = render::newContext(shared.context);
    mp_Surface = render::newSurface(shared.format);
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
    mp_Fbo = render::newFramebuffer(m_Width, m_Height);
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
        // The context stays current on purpose; the next frame tries again.
        logError(__LINE__, __func__, QObject::tr("Couldn't bind FBO to OpenGL context"));
        scene->unlock();
        shared->unlock();
        m_Mutex.unlock();
        return;
    }
    // Errors of earlier work; those from here on belong to this frame.
    render::clearGlErrors();
    tov::scene::SceneElement* root = Viewer::getInstance()->getGlobalScene()->getRootNode();
    SavedGlState state;
    const QImage picture = renderFrame(root);
    if (picture.isNull())
        logError(__LINE__, __func__, QObject::tr("Picture couldn't be grabbed by FBO"));
    else
        writeFrame(picture, chunk);
    state.restore();
    mp_Fbo->release();
    mp_Context->doneCurrent();
    scene->unlock();
    shared->unlock();
    m_Mutex.unlock();
}

QImage VideoHandler::renderFrame(tov::scene::SceneElement* root)
{
    render::setDrawingState(*mp_Drawer);
    const tov::math::Matrix<double, 4u, 4u> camera = mp_Panel->getScaledTransformMatrix();
    render::clearFrame(*mp_Drawer, m_Width, m_Height);
    render::setProjection([this] {
        gluPerspective(FieldOfView, double(m_Width) / double(m_Height), SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    });
    return render::drawAndRead(*mp_Drawer, root, camera, SceneDrawer::LayersOfPanel, *mp_Fbo);
}

void VideoHandler::releaseGL()
{
    if (QThread::currentThread() != Overseer::getInstance()->getApplicationThread()) {
        // A context that is current cannot be moved, and a frame that could not bind leaves it current.
        if (QOpenGLContext::currentContext() == mp_Context)
            mp_Context->doneCurrent();
        store(m_ReleasePending, true);
        mp_Context->moveToThread(QCoreApplication::instance()->thread());
        mp_Surface->moveToThread(QCoreApplication::instance()->thread());
        Overseer::getInstance()->transmitWorker(
            new WorkerDelegate::InternalWorker(new Delegate0<VideoHandler>(this, &VideoHandler::releaseGL), false));
        return;
    }
    // Contexts do not share framebuffer objects. Deleting this one while another context is current would delete an
    // object of that context.
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
    store(m_ReleasePending, false);
}

bool VideoHandler::Grabber::hasEnoughMemory()
{
    struct sysinfo info;
    if (sysinfo(&info) != 0)
        return false;
    const quint64 chunk = quint32(mp_Handler->m_ChunkSize);
    // A byte array cannot hold more, however much memory is free. A chunk may exceed its limit by one frame.
    if (chunk + frameBytes() > MaxBuffer)
        return false;
    return chunk < quint64(info.freeram + info.bufferram) * quint64(info.mem_unit);
}

QIODevice* VideoHandler::Grabber::createChunkFile()
{
    if (mp_Handler->m_UseMemory && hasEnoughMemory()) {
        auto* buffer = new QBuffer;
        if (buffer->open(QIODevice::ReadWrite)) {
            PagePrefaulter::reserve(buffer, quint32(mp_Handler->m_ChunkSize) + frameBytes());
            return buffer;
        }
        // Not replaced by a file, on purpose.
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

QIODevice* VideoHandler::Grabber::rotateChunk(QIODevice* chunk, PagePrefaulter& prefaulter)
{
    // Compared as unsigned 32 bits, so a negative setting is a very large limit.
    if (chunk->size() < qint64(quint32(mp_Handler->m_ChunkSize)))
        return chunk;
    prefaulter.finish();
    // The result is ignored on purpose: a refused chunk is neither deleted nor handed over again.
    mp_Handler->mp_Encoder->encodeVideoChunk(chunk, false);
    return createChunkFile();
}

void VideoHandler::Grabber::finishCapture(QIODevice* chunk, PagePrefaulter& prefaulter)
{
    prefaulter.finish();
    mp_Handler->mp_Encoder->encodeVideoChunk(chunk, true);
    mp_Handler->endCapture();
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
        return; // Nothing is handed over or reported, on purpose. The user has to stop the recording.
    PagePrefaulter prefaulter;
    int carriedWait = 0;
    // The wall clock on purpose: a clock change costs a frame or two.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    QTime clock;
    clock.start();
    while (!load(m_Stop)) {
        chunk = rotateChunk(chunk, prefaulter);
        if (!chunk)
            break;
        prefaulter.prefault(chunk, frameBytes());
        mp_Handler->grabPicture(chunk);
        // The elapsed time includes the last sleep, which is subtracted a second time. So frames alternate between one
        // sleep and none; this is intended.
        const int wait = PaceMs - clock.restart() - carriedWait;
        carriedWait = wait;
        if (wait > 0)
            QThread::msleep(static_cast<unsigned long>(wait));
        else
            carriedWait = 0;
    }
    QT_WARNING_POP
    finishCapture(chunk, prefaulter);
}

void VideoHandler::SyncedGrabber::run()
{
    QIODevice* chunk = createChunkFile();
    if (!chunk)
        return; // Nothing is handed over or reported, on purpose. The user has to stop the recording.
    PagePrefaulter prefaulter;
    Walk walk;
    while (!load(m_Stop) && !walk.isAtEnd()) {
        chunk = rotateChunk(chunk, prefaulter);
        if (!chunk)
            break;
        emit mp_Handler->progressChanged(walk.percent());
        walk.step();
        prefaulter.prefault(chunk, frameBytes());
        mp_Handler->grabPicture(chunk);
    }
    finishCapture(chunk, prefaulter);
}

} // namespace tov::grab
