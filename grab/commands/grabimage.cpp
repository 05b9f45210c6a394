#include "grab/commands/grabimage.h"

// clang-format off
// The order matters: each list declares its events when the library is loaded.
#include "scene/events.h"
#include "kernel/main/globalevents.h"
// clang-format on

#include "grab/commands/localvalue.h"
#include "grab/commands/tilecopier.h"
#include "grab/module/modulegrab.h"
#include "grab/render/applicationthread.h"
#include "grab/render/frame.h"
#include "grab/render/glerror.h"
#include "grab/render/offscreentarget.h"
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

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <boost/bind/bind.hpp>

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace tov::commands::grab {

using tov::grab::render::onApplicationThread;
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
namespace render = tov::grab::render;
typedef tov::math::Matrix<double, 4u, 4u> Matrix;

namespace {

const char* const SourceFile = "commands/grabimage";
constexpr int ErrorLevel = tov::log::LevelError;
constexpr int InformationLevel = tov::log::LevelInformation;

const char* const DirectoryKey = "lastGrabImageDirectory";

constexpr int InteractiveSet = 1;
constexpr int ProgrammaticSet = 10000;

/// Largest edge of a tile, in pixels.
constexpr int MaxTileEdge = 512;
/// Half the height of the view at distance 1. Pictures have this field of view, about 46.29 degrees, whatever the
/// projection of the panel.
constexpr double HalfHeight = 0.4274205123390469;

CommandDescriptor* makeDescriptor()
{
    return new CommandDescriptor(GrabImage::CommandName, QStringLiteral("Grabs an image of the scene"));
}

WorkerDelegate::InternalWorker* makeWorker(std::function<void()> function)
{
    return new WorkerDelegate::InternalWorker(new FunctionDelegate(std::move(function)), false);
}

/// Shows the wait cursor until the end of the scope, through workers that nobody waits for.
class WaitCursor
{
public:
    WaitCursor() : mp_Restoring(makeWorker([] { QApplication::restoreOverrideCursor(); }))
    {
        Overseer::getInstance()->transmitWorker(makeWorker([] { QApplication::setOverrideCursor(Qt::WaitCursor); }));
    }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor()
    {
        try {
            Overseer::getInstance()->transmitWorker(mp_Restoring);
        } catch (const std::bad_alloc&) {
            // There is no memory for an entry in the queue, so the cursor stays.
        }
    }

private:
    WorkerDelegate::InternalWorker* mp_Restoring; ///< made in advance: the scope may end because memory ran out
};

/// Truncates towards zero. Values out of range give the nearest int.
int truncated(double value)
{
    if (!(value > std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    if (value >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

/// A blank picture; null if there is not enough memory or an image cannot be that large. The system provides zeroed
/// pages when tiles are copied, on several cores.
QImage makeBlankPicture(int width, int height)
{
    constexpr int PixelBytes = 4;
    if (width > std::numeric_limits<int>::max() / PixelBytes)
        return QImage();
    const int rowBytes = width * PixelBytes;
    void* const pixels = std::calloc(std::size_t(height), std::size_t(rowBytes));
    if (!pixels)
        return QImage();
    QImage picture(static_cast<uchar*>(pixels), width, height, rowBytes, QImage::Format_ARGB32, std::free, pixels);
    if (picture.isNull())
        std::free(pixels);
    return picture;
}

bool isWritableFormat(const QString& fileName)
{
    const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
    return std::any_of(formats.begin(), formats.end(), [&fileName](const QByteArray& format) {
        return fileName.endsWith(QLatin1Char('.') + QString::fromLatin1(format).toLower(), Qt::CaseInsensitive);
    });
}

/// Saves in the format of the file name's suffix. A named pipe needs a reader that has it open already.
bool savePicture(const QImage& picture, const QString& fileName)
{
    if (!tov::grab::video::isPipe(fileName))
        return picture.save(fileName, nullptr, -1);
    QFile pipe(fileName);
    return tov::grab::video::openForWriting(pipe) &&
           picture.save(&pipe, QFileInfo(fileName).suffix().toLatin1().constData(), -1) && pipe.flush();
}

/// One tile: its place in the view and its slice of the frustum at the near plane.
struct Tile
{
    int row;           ///< 0 is the bottom of the view
    int x0, y0;        ///< pixels in the picture, of the top left corner
    int width, height; ///< pixels
    double left, right, bottom, top;
};

/// How a picture is cut into tiles, row by row from the bottom of the view, each row from left to right.
class TileGrid
{
public:
    TileGrid(int width, int height, int edge)
        : m_Width(width), m_Height(height), m_Edge(edge),
          // Rounded up in 64 bits: sizes may be close to the largest int.
          m_Columns(int((qint64(width) + edge - 1) / edge)), m_Rows(int((qint64(height) + edge - 1) / edge)),
          m_LastWidth(width - (m_Columns - 1) * edge), m_LastHeight(height - (m_Rows - 1) * edge)
    {}
    qint64 count() const { return qint64(m_Columns) * m_Rows; }
    /// Percent of the tiles before the i-th.
    int progressAt(qint64 i) const { return truncated(double(i) / double(count()) * 100); }
    Tile at(qint64 i) const
    {
        Tile tile;
        tile.row = int(i / m_Columns);
        const int column = int(i % m_Columns);
        tile.height = tile.row < m_Rows - 1 ? m_Edge : m_LastHeight;
        tile.width = column < m_Columns - 1 ? m_Edge : m_LastWidth;
        tile.x0 = column * m_Edge;
        // The short row is at the top of the picture.
        tile.y0 = tile.row < m_Rows - 1 ? (m_Rows - 1 - tile.row) * m_Edge - (m_Edge - m_LastHeight) : 0;
        const double top = SceneDrawer::ZNEAR * HalfHeight;
        const double left = -top * m_Width / m_Height;
        const double wholeWidth = 2 * top * m_Width / m_Height;
        const double wholeHeight = 2 * top;
        tile.left = tile.x0 * wholeWidth / m_Width + left;
        tile.right = tile.left + tile.width * wholeWidth / m_Width;
        tile.bottom = double(tile.row) * m_Edge * wholeHeight / m_Height - top;
        tile.top = tile.bottom + tile.height * wholeHeight / m_Height;
        return tile;
    }

private:
    int m_Width, m_Height; ///< pixels, of the picture
    int m_Edge;            ///< pixels
    int m_Columns, m_Rows;
    int m_LastWidth, m_LastHeight; ///< pixels, of the last column and the last row
};

/// Copies column by column. A pixel outside of the target gives a record and ends its column.
void copyInOrder(QImage& target, const QImage& picture, const Tile& tile)
{
    for (int x = tile.x0; x < tile.x0 + tile.width; ++x)
        for (int j = 0; j < tile.height; ++j) {
            if (x >= target.width() || tile.y0 + j >= target.height()) {
                Logger::log(ErrorLevel, SourceFile, __LINE__, "saveImage", nullptr,
                            "setPixel(%d, %d) oversizes target image dimensions (%d, %d)", x, tile.y0 + j,
                            target.width(), target.height());
                break;
            }
            target.setPixel(x, tile.y0 + j, picture.pixel(x - tile.x0, j));
        }
}

/// Copies a tile into place. The target may have another size than at the start.
void copyIntoPlace(QImage& target, const QImage& picture, const Tile& tile)
{
    if (tile.x0 + tile.width <= target.width() && tile.y0 + tile.height <= target.height())
        copyTile(target, picture, tile.x0, tile.y0);
    else
        copyInOrder(target, picture, tile);
}

/// Draws a tile into the bound framebuffer object and reads it back; null if that fails.
QImage drawTile(SceneDrawer& drawer, tov::scene::SceneElement* root, const Matrix& transform, const Tile& tile,
                const QOpenGLFramebufferObject& framebuffer)
{
    render::setDrawingState(drawer);
    render::clearFrame(drawer, tile.width, tile.height);
    render::setProjection(
        [&tile] { glFrustum(tile.left, tile.right, tile.bottom, tile.top, SceneDrawer::ZNEAR, SceneDrawer::ZFAR); });
    return render::drawAndRead(drawer, root, transform, SceneDrawer::LayersOfPicture, framebuffer);
}

/// Draws all tiles and copies them into the target. False, logged, if a framebuffer object could not be bound.
bool renderTiles(QImage& target, const TileGrid& grid, SceneDrawer& drawer, tov::scene::SceneElement* root,
                 const Matrix& transform, render::OffscreenTarget& offscreen,
                 const std::function<void(int)>& showProgress)
{
    const char* const function = "saveImage";
    for (qint64 i = 0; i < grid.count(); ++i) {
        // Before the tile is drawn, so the dialog never shows 100. The receiver of the value may replace the image.
        showProgress(grid.progressAt(i));
        const Tile tile = grid.at(i);
        QOpenGLFramebufferObject& framebuffer = offscreen.framebuffer(tile.width, tile.height);
        // Errors of earlier work; those from here on belong to this tile.
        render::clearGlErrors();
        if (!framebuffer.bind()) {
            Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "Couldn't bind framebuffer object!");
            return false;
        }
        const QImage picture = drawTile(drawer, root, transform, tile, framebuffer);
        framebuffer.release();
        // A lost tile stays blank, and the next one is tried.
        if (picture.isNull())
            Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "Couldn't read framebuffer object back!");
        else
            copyIntoPlace(target, picture, tile);
    }
    return true;
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

bool GrabImage::readParameters(QString& fileName, int& width)
{
    ParameterSet* set = getCurrentParameterSet();
    Parameter<QString> fileNameParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue fileNameValue(fileNameParameter);
    Parameter<int> widthParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue widthValue(widthParameter);
    if (!m_TypeSolver.solve(fileNameParameter, set->at(0))) {
        qConsole("Parameter failure");
        return false;
    }
    if (!m_TypeSolver.solve(widthParameter, set->at(1))) {
        Logger::log(InformationLevel, SourceFile, __LINE__, "execute", nullptr, "Parameter failure");
        return false;
    }
    fileName = *static_cast<QString*>(fileNameParameter.getValuePointer());
    width = *static_cast<int*>(widthParameter.getValuePointer());
    return true;
}

void GrabImage::executeInteractive()
{
    const char* const function = "execute";
    ParameterSet* set = getCurrentParameterSet();
    if (!set || set->isEmpty())
        return;
    QString fileName;
    int width = 0;
    if (!readParameters(fileName, width))
        return;
    if (!isWritableFormat(fileName)) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "No valid image file extension selected");
        return;
    }
    // Panels may be closed at any time on the application thread, so the test and the use are one piece of work there.
    // Size and view must come from the same panel, even if another one becomes active in between.
    QPointer<ScenePanel> panel;
    int height = 0;
    bool hasPanel = false;
    onApplicationThread([&] {
        panel = mp_Panel;
        hasPanel = !panel.isNull();
        if (hasPanel)
            height = truncated(double(panel->height()) / double(panel->width()) * double(width));
    });
    if (!hasPanel)
        return;
    if (width < 2 || height < 2) {
        // The misspelling stays: scripts search for this record.
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr, "Target picture (%d x %d) size is to small!",
                    width, height);
        return;
    }
    if (!Viewer::getInstance()->isFboAvailable()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "Your graphics card doesn't support framebuffer objects - abort!");
        return;
    }
    // Stored before the picture is rendered, so it is stored even if rendering or saving fails.
    tovSettings().setValue(QLatin1String(DirectoryKey), QFileInfo(fileName).absolutePath());
    const WaitCursor waitCursor;
    // Blank: a failure later must not leave random bytes in the file.
    QImage target = makeBlankPicture(width, height);
    if (target.isNull()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "Couldn't create image buffer with size (%d x %d)", width, height);
        return;
    }
    renderAndSave(target, panel, fileName);
}

void GrabImage::renderAndSave(QImage& target, const QPointer<ScenePanel>& panel, const QString& fileName)
{
    updateProcessed(-1);
    updateText(QObject::tr("Building tiles"));
    Matrix transform;
    bool hasPanel = false;
    onApplicationThread([&] {
        hasPanel = !panel.isNull();
        if (hasPanel)
            transform = panel->getScaledTransformMatrix();
    });
    if (!hasPanel)
        return;
    saveImage(&target, transform);
    updateText(QObject::tr("Saving image"));
    // An incomplete picture is saved as well, on purpose: the failure has been logged.
    const QByteArray localName = fileName.toLocal8Bit();
    if (savePicture(target, fileName))
        Logger::log(InformationLevel, SourceFile, __LINE__, "execute", nullptr, "Image saved to '%s'",
                    localName.constData());
    else
        Logger::log(ErrorLevel, SourceFile, __LINE__, "execute", nullptr, "Couldn't save image '%s'!",
                    localName.constData());
}

void GrabImage::executeProgrammatic()
{
    setCurrentParameterSetId(getParameterSets().back()->getId());
    ParameterSet* set = getParameterSets().back();
    auto* image = tov::main::fetchTyped<QImage>(set->at(0));
    auto* transform = tov::main::fetchTyped<Matrix>(set->at(1));
    auto* panel = tov::main::fetchTyped<ScenePanel>(set->at(2));
    mp_Panel = panel;
    // A parameter has no value or the wrong type, which has been reported.
    if (!image || !transform)
        return;
    const int dpi = truncated(image->dotsPerMeterX() * 0.0254);
    updateProcessed(-1);
    updateText(QObject::tr("Grabbing image with %1 dpi").arg(dpi, 0, 10, QLatin1Char(' ')));
    saveImage(image, *transform);
}

void GrabImage::saveImage(QImage* target, const Matrix& transform)
{
    const int width = target->width();
    const int height = target->height();
    const tov::util::ZPointer<tov::scene::Scene> scene = Viewer::getInstance()->getGlobalScene();
    if (!scene->getRootNode())
        return;
    auto drawer = std::make_unique<SceneDrawer>(scene);
    render::OffscreenTarget offscreen;
    if (!offscreen.create()) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Could not create OpenGL context!");
        return;
    }
    GLint maxTextureSize = 0;
    if (offscreen.makeCurrent())
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
    if (maxTextureSize <= 0) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr, "Current OpenGL context is invalid!");
        return;
    }
    const TileGrid grid(width, height, std::min<int>(maxTextureSize, MaxTileEdge));

    tov::scene::SceneLocker locker(scene.get(), tov::scene::SceneLocker::LOCKTYPE(7));
    auto progress = std::make_unique<tov::util::ZProgressDialog>(QStringLiteral("Building Picture"), false);
    const auto showProgress = [&progress](int percent) { progress->setValue(percent); };
    // Queried again: the scene could change until it was locked. Null draws nothing.
    if (!renderTiles(*target, grid, *drawer, scene->getRootNode(), transform, offscreen, showProgress)) {
        offscreen.deleteFramebuffer();
        offscreen.release();
        progress.reset();
        locker.unlock();
        return;
    }
    offscreen.deleteFramebuffer();
    drawer.reset();
    offscreen.release();
    locker.unlock();
    progress.reset();
}

} // namespace tov::commands::grab
