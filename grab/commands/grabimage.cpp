#include "grab/commands/grabimage.h"

// clang-format off
// The order matters: each list declares its events when the library is loaded.
#include "scene/events.h"
#include "kernel/main/globalevents.h"
// clang-format on

#include "grab/applicationthread.h"
#include "grab/commands/localvalue.h"
#include "grab/commands/tilecopier.h"
#include "grab/module/modulegrab.h"
#include "grab/drawinglost.h"
#include "grab/video/outputfile.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/log/console.h"
#include "kernel/log/logger.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/eventmanager.h"
#include "kernel/commands/functioncommand.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "kernel/workers/workerdelegate.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scenelocker.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QThread>

#include <boost/bind/bind.hpp>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace tov::commands::grab {

using tov::grab::onApplicationThread;
using tov::gui::ScenePanel;
using tov::log::Logger;
using tov::main::CommandDescriptor;
using tov::main::CommandGUIDescriptor;
using tov::main::Overseer;
using tov::main::Parameter;
using tov::main::ParameterSet;
using tov::main::WorkerDelegate;
using tov::scene::SceneDrawer;
using tov::scene::Viewer;
using tov::util::FunctionDelegate;
typedef tov::math::Matrix<double, 4u, 4u> Matrix;

namespace {

const char* const SourceFile = "commands/grabimage";
constexpr int ErrorLevel = tov::log::LevelError;
constexpr int InformationLevel = tov::log::LevelInformation;

const char* const DirectoryKey = "lastGrabImageDirectory";

constexpr int InteractiveSet = 1;
constexpr int ProgrammaticSet = 10000;

/// Largest edge of a tile, in pixels.
constexpr int TileEdge = 512;
/// Half the picture's height at distance 1. The field of view, about 46.29 degrees, is the picture's own, whatever a
/// panel uses.
constexpr double HalfHeight = 0.4274205123390469;

CommandDescriptor* makeDescriptor()
{
    return new CommandDescriptor(GrabImage::CommandName, QStringLiteral("Grabs an image of the scene"));
}

void setOverrideCursor()
{
    Overseer::getInstance()->transmitWorker(new WorkerDelegate::InternalWorker(
        new FunctionDelegate([] { QApplication::setOverrideCursor(QCursor(Qt::WaitCursor)); }), false));
}

void restoreOverrideCursor()
{
    Overseer::getInstance()->transmitWorker(
        new WorkerDelegate::InternalWorker(new FunctionDelegate([] { QApplication::restoreOverrideCursor(); }), false));
}

/// A double as an int, truncated towards zero; what does not fit ends at the nearest int.
int truncated(double value)
{
    if (!(value > std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    if (value >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

/// A blank picture; null when there is no memory for it or nothing can be that large. The system hands out zeroed
/// pages, which come when tiles are copied, on all cores.
QImage makeBlankPicture(int width, int height)
{
    constexpr int PixelBytes = 4;
    if (width > std::numeric_limits<int>::max() / PixelBytes)
        return QImage();
    const int rowBytes = width * PixelBytes;
    void* const pixels = std::calloc(std::size_t(height), std::size_t(rowBytes));
    if (!pixels)
        return QImage();
    const QImage picture(static_cast<uchar*>(pixels), width, height, rowBytes, QImage::Format_ARGB32, std::free,
                         pixels);
    if (picture.isNull())
        std::free(pixels);
    return picture;
}

} // namespace

const char* GrabImage::CommandName = "grabimage";
bool GrabImage::m_Registered =
    tov::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(GrabImage::create);

tov::main::Command* GrabImage::create()
{
    return new GrabImage;
}

GrabImage::GrabImage()
    : Command(makeDescriptor(),
              new CommandGUIDescriptor(CommandGUIDescriptor::Ordinary, QObject::tr("Grab"), 10, CommandName,
                                       QObject::tr("Image"),
                                       new QIcon(QStringLiteral(":/module_grab/image/grabscene.png"))))
{
    setUndoable(false);
    setRecordedInMacros(false);
    setInstanceMode(RunPrototype);

    auto* set = new ParameterSet(InteractiveSet);
    auto* fileName = new Parameter<QString>(QStringLiteral("filename"), QObject::tr("Imagefilename to save grab"));
    mp_PanelFactory = new tov::main::FileParameterPanelFactory(boost::bind(&GrabImage::createSaveDialog, this));
    fileName->setParameterPanelFactory(mp_PanelFactory);
    set->addParameter(fileName);
    auto* width = new Parameter<int>(QStringLiteral("width"), QObject::tr("Width of the grabbed image"));
    width->setDefaultParameterForDefaultGUI(QStringLiteral("10000"));
    set->addParameter(width);
    addParameterSet(set);

    scheduleProbe();
    disableCommand(true);
}

GrabImage::GrabImage(QImage* image, const Matrix* transform, ScenePanel* panel) : Command(makeDescriptor(), nullptr)
{
    setUndoable(false);
    setRecordedInMacros(false);
    setInstanceMode(RunOnce);
    setOneShot(true);

    auto* set = new ParameterSet(ProgrammaticSet);
    auto* imageParameter = new Parameter<QImage>(QStringLiteral("image"), QStringLiteral("noDesc"));
    imageParameter->disableDeleteOnSet(true);
    tov::main::assignTyped(imageParameter, image);
    set->addParameter(imageParameter);
    auto* transformParameter = new Parameter<Matrix>(QStringLiteral("transform"), QStringLiteral("noDesc"));
    transformParameter->disableDeleteOnSet(true);
    tov::main::assignTyped(transformParameter, transform);
    set->addParameter(transformParameter);
    auto* panelParameter = new Parameter<ScenePanel>(QStringLiteral("scenepanel"), QStringLiteral("noDesc"));
    panelParameter->disableDeleteOnSet(true);
    tov::main::assignTyped(panelParameter, panel);
    set->addParameter(panelParameter);
    addParameterSet(set);
    setCurrentParameterSetId(set->getId());
}

GrabImage::~GrabImage()
{
    tov::main::EventManager::getInstance()->unregisterAllEventFunctionsOf(this);
    delete mp_PanelFactory;
    mp_PanelFactory = nullptr;
}

void GrabImage::scheduleProbe()
{
    auto* delegate = new FunctionDelegate([this] { probe(); });
    const auto handOn = [](FunctionDelegate* probing) {
        if (!QOpenGLContext::supportsThreadedOpenGL()) {
            Overseer::getInstance()->transmitWorker(new WorkerDelegate::InternalWorker(probing, false));
        } else {
            probing->call();
            delete probing;
        }
    };
    auto* command =
        new tov::main::FunctionCommand(boost::function<void()>(boost::bind<void>(handOn, delegate)), true, nullptr);
    Overseer::getInstance()->getCommandProcessor()->processCommand(command, 1, false);
}

void GrabImage::probe()
{
    const QSurfaceFormat format;
    auto* context = new QOpenGLContext;
    auto* surface = new QOffscreenSurface;
    surface->setFormat(format);
    surface->create();
    if (!context->create()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Could not create OpenGL context!");
    } else if (!context->makeCurrent(surface)) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Current OpenGL context is invalid!");
    } else {
        if (QOpenGLFramebufferObject::hasOpenGLFramebufferObjects()) {
            tov::main::EventManager::getInstance()->registerEventFunction(
                tov::events::scene::SCENEPANEL_CHANGED,
                boost::bind(&GrabImage::scenePanelChanged, this, boost::placeholders::_1), this, nullptr);
        } else {
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr,
                        "Grab Image: Your graphics card doesn't support framebuffer objects!");
        }
        context->doneCurrent();
    }
    surface->destroy();
    delete surface;
    delete context;
}

void GrabImage::scenePanelChanged(const tov::main::Event* event)
{
    mp_Panel = static_cast<ScenePanel*>(event->getData());
    disableCommand(mp_Panel.isNull());
}

QFileDialog* GrabImage::createSaveDialog()
{
    QStringList filters;
    for (const QByteArray& format : QImageWriter::supportedImageFormats()) {
        const QString name = QString::fromLatin1(format);
        filters << name.toUpper() + QStringLiteral("-File (*.") + name.toLower() + QStringLiteral(")");
    }
    const QString directory = tovSettings().value(QLatin1String(DirectoryKey), QString()).toString();
    auto* dialog = new QFileDialog(nullptr, QString(), QString(), QString());
    dialog->setWindowTitle(QObject::tr("Save Image"));
    dialog->setNameFilters(filters);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix(QStringLiteral("png"));
    dialog->setDirectory(directory);
    return dialog;
}

void GrabImage::execute()
{
    switch (getCurrentParameterSetId()) {
    case InteractiveSet:
        executeInteractive();
        break;
    case ProgrammaticSet:
        executeProgrammatic();
        break;
    default:
        break;
    }
}

void GrabImage::executeInteractive()
{
    const char* const function = "execute";
    ParameterSet* set = getCurrentParameterSet();
    if (!set || set->isEmpty())
        return;
    Parameter<QString> fileNameParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue fileNameValue(fileNameParameter);
    Parameter<int> widthParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue widthValue(widthParameter);
    if (!m_TypeSolver.solve(fileNameParameter, set->at(0))) {
        qConsole("Parameter failure");
        return;
    }
    if (!m_TypeSolver.solve(widthParameter, set->at(1))) {
        Logger::log(InformationLevel, SourceFile, __LINE__, function, nullptr, "Parameter failure");
        return;
    }
    const QString fileName = *static_cast<QString*>(fileNameParameter.getValuePointer());

    const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
    const bool known = std::any_of(formats.begin(), formats.end(), [&fileName](const QByteArray& format) {
        return fileName.endsWith(QLatin1Char('.') + QString::fromLatin1(format).toLower(), Qt::CaseInsensitive);
    });
    if (!known) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "No valid image file extension selected");
        return;
    }

    // The panel belongs to the application thread, where it may be closed at any time: it is tested and used there, in
    // one piece of work.
    // Another panel may become the active one meanwhile; size and view are of the same one.
    bool panelThere = false;
    int panelWidth = 1, panelHeight = 1;
    QPointer<ScenePanel> panel;
    onApplicationThread([&] {
        panel = mp_Panel;
        if (panel.isNull())
            return;
        panelThere = true;
        panelWidth = panel->width();
        panelHeight = panel->height();
    });
    if (!panelThere)
        return;
    const int width = *static_cast<int*>(widthParameter.getValuePointer());
    const int height = truncated(double(panelHeight) / double(panelWidth) * double(width));
    if (width < 2 || height < 2) {
        // The misspelling is an old friend of scripts that look for the record.
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "Target picture (%d x %d) size is to small!",
                    width, height);
        return;
    }
    if (!Viewer::getInstance()->isFboAvailable()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "Your graphics card doesn't support framebuffer objects - abort!");
        return;
    }
    // Remembered before anything is rendered, so also when what follows fails.
    tovSettings().setValue(QLatin1String(DirectoryKey), QFileInfo(fileName).absolutePath());
    setOverrideCursor();
    // Blank, so that a failure later leaves no chance bytes in the file.
    QImage target = makeBlankPicture(width, height);
    if (target.isNull()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "Couldn't create image buffer with size (%d x %d)", width, height);
        restoreOverrideCursor();
        return;
    }
    updateProcessed(-1);
    updateText(QObject::tr("Building tiles"));
    Matrix transform;
    onApplicationThread([&] {
        panelThere = !panel.isNull();
        if (panelThere)
            transform = panel->getScaledTransformMatrix();
    });
    if (!panelThere) {
        // Closed since the first look: nothing is left to picture.
        restoreOverrideCursor();
        return;
    }
    saveImage(&target, transform);
    updateText(QObject::tr("Saving image"));
    // What rendering left out has been logged; the picture is saved all the same, on purpose.
    const QByteArray localName = fileName.toLocal8Bit();
    if (tov::grab::video::isPipe(fileName) || !target.save(fileName, nullptr, -1))
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "Couldn't save image '%s'!",
                    localName.constData());
    else
        Logger::log(InformationLevel, SourceFile, __LINE__, function, nullptr, "Image saved to '%s'",
                    localName.constData());
    restoreOverrideCursor();
}

void GrabImage::executeProgrammatic()
{
    setCurrentParameterSetId(getParameterSets().back()->getId());
    ParameterSet* set = getParameterSets().back();
    auto* image = tov::main::fetchTyped<QImage>(set->at(0));
    auto* transform = tov::main::fetchTyped<Matrix>(set->at(1));
    auto* panel = tov::main::fetchTyped<ScenePanel>(set->at(2));
    mp_Panel = panel;
    // A parameter of the wrong type, named above, or none at all: there is nothing to fill or nothing to see it
    // through.
    if (!image || !transform)
        return;
    const int dpi = truncated(image->dotsPerMeterX() * 0.0254);
    updateProcessed(-1);
    updateText(QObject::tr("Grabbing image with %1 dpi").arg(dpi, 0, 10, QLatin1Char(' ')));
    saveImage(image, *transform);
}

void GrabImage::saveImage(QImage* target, const Matrix& transform)
{
    const int targetWidth = target->width();
    const int targetHeight = target->height();
    const tov::util::ZPointer<tov::scene::Scene> scene = Viewer::getInstance()->getGlobalScene();
    tov::scene::SceneElement* root = scene->getRootNode();
    if (!root)
        return;
    auto* drawer = new SceneDrawer(scene);

    QOpenGLContext* shared = tov::scene::_GlobalContext()->glContext();
    const QSurfaceFormat format = shared ? shared->format() : QSurfaceFormat();
    QOpenGLContext* context = nullptr;
    QOffscreenSurface* surface = nullptr;
    QThread* const renderThread = QThread::currentThread();
    // Surfaces may be made on the application thread only.
    onApplicationThread([&] {
        context = new QOpenGLContext;
        context->setShareContext(shared);
        if (!context->create()) {
            delete context;
            context = nullptr;
            return;
        }
        context->moveToThread(renderThread);
        surface = new QOffscreenSurface;
        surface->setFormat(format);
        surface->create();
        surface->moveToThread(renderThread);
    });
    if (!context) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Could not create OpenGL context!");
        delete drawer;
        return;
    }
    if (!context->makeCurrent(surface)) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Current OpenGL context is invalid!");
        surface->destroy();
        delete surface;
        delete context;
        delete drawer;
        return;
    }

    GLint maxTextureSize = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
    const int tile = std::min<int>(maxTextureSize, TileEdge);

    tov::scene::SceneLocker locker(scene.get(), tov::scene::SceneLocker::LOCKTYPE(7));
    // Until now the scene could change: the element seen above may be gone, while this one stays. Null draws nothing.
    root = scene->getRootNode();
    auto progress = std::make_unique<tov::util::ZProgressDialog>(QStringLiteral("Building Picture"), false);

    // Rounded up without overflow: sizes near the largest int are cut down to the same result.
    const int columns = int((qint64(targetWidth) + tile - 1) / tile);
    const int rows = int((qint64(targetHeight) + tile - 1) / tile);
    const qint64 count = qint64(columns) * rows;
    const int lastWidth = targetWidth - (columns - 1) * tile;
    const int lastHeight = targetHeight - (rows - 1) * tile;

    const double nearPlane = SceneDrawer::ZNEAR;
    const double farPlane = SceneDrawer::ZFAR;
    const double top = nearPlane * HalfHeight;
    const double left = -top * targetWidth / targetHeight;

    // Copies while the next tile is drawn; whatever way this function is left, what was handed over is in place then.
    TileCopier copier(target);
    QOpenGLFramebufferObject* fbo = nullptr;
    int fboWidth = -1, fboHeight = -1;
    for (qint64 i = 0; i < count; ++i) {
        // On the application thread whoever shows the progress is called at once and may replace the image: no tile is
        // under way then.
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            copier.finish();
        // Set before the tile is drawn, so that the dialog never shows 100.
        progress->setValue(truncated(double(i) / double(count) * 100));
        const int row = int(i / columns);
        const int column = int(i % columns);
        const int tileHeight = row < rows - 1 ? tile : lastHeight;
        const int tileWidth = column < columns - 1 ? tile : lastWidth;
        if (!fbo || tileWidth != fboWidth || tileHeight != fboHeight) {
            delete fbo;
            fbo = new QOpenGLFramebufferObject(tileWidth, tileHeight, QOpenGLFramebufferObject::CombinedDepthStencil,
                                               GL_TEXTURE_2D, GL_RGBA8);
            fboWidth = tileWidth;
            fboHeight = tileHeight;
        }
        if (!fbo->bind()) {
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't bind framebuffer object!");
            copier.finish();
            delete fbo;
            context->doneCurrent();
            surface->destroy();
            progress.reset();
            locker.unlock();
            delete surface;
            delete context;
            delete drawer;
            return;
        }
        const QColor background = drawer->getBackgroundColor();
        glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
        glShadeModel(GL_SMOOTH);
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_COLOR_MATERIAL);
        drawer->resize(tileWidth, tileHeight);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);

        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        const int x0 = column * tile;
        const double wholeWidth = 2 * top * targetWidth / targetHeight;
        const double wholeHeight = 2 * top;
        const double l = x0 * wholeWidth / targetWidth + left;
        const double r = l + tileWidth * wholeWidth / targetWidth;
        const double b = double(row) * tile * wholeHeight / targetHeight - top;
        const double t = b + tileHeight * wholeHeight / targetHeight;
        glFrustum(l, r, b, t, nearPlane, farPlane);

        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glEnable(GL_LIGHT0);
        drawer->glDraw(root, nullptr, transform, 0.0, 3, 7);
        glFlush();
        // Asked for twice: Qt forgets what stands before it reads.
        const bool spoilt = tov::grab::isDrawingLost();
        const QImage picture = fbo->toImage();
        const bool lost = tov::grab::isDrawingLost() || spoilt || picture.isNull();
        fbo->release();

        // The bottom row of tiles is row 0; the short one stands at the top of the picture.
        const int y0 = row < rows - 1 ? (rows - 1 - row) * tile - (tile - lastHeight) : 0;
        // The tile stays blank, and the others are tried.
        if (lost)
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Couldn't read framebuffer object back!");
        else
            copier.copy(picture, x0, y0, tileWidth, tileHeight);
    }
    copier.finish();
    delete fbo;
    delete drawer;
    context->doneCurrent();
    surface->destroy();
    locker.unlock();
    progress.reset();
    delete surface;
    delete context;
}

} // namespace tov::commands::grab
