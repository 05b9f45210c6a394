#include "scene/view/viewer.h"

#include "kernel/events/eventhandler.h"
#include "kernel/log/logger.h"
#include "kernel/main/castclassmanager.h"
#include "kernel/main/eventmanager.h"
#include "scene/drawing/drawbuffers.h"
#include "scene/globalscene.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/ticketlock.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QPointer>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>

namespace tov::scene {

using tov::gui::ScenePanel;

namespace {

void announce(ScenePanel* panel)
{
    auto* events = tov::events::EventHandler::getInstance();
    tov::main::EventManager::getInstance()->fireEvent(
        tov::main::Event(events->addEvent("Scene", "SCENEPANEL_CHANGED"), nullptr, panel));
}

/// Panels have no text; parameters only pass them on.
class PanelCast : public tov::main::CastClass
{
public:
    PanelCast() : CastClass(false) {}
    void* fromString(const QString&) override { throw std::invalid_argument("a scene panel has no text"); }
    QString toString(const void*) override { return QString(); }
    void deleteValue(void* value) override { delete static_cast<ScenePanel*>(value); }
};

} // namespace

struct SharedContext::Private
{
    TicketLock order;
    std::atomic<QOpenGLContext*> context{nullptr};
    std::unique_ptr<QOffscreenSurface> surface;
};

SharedContext::SharedContext() : d(new Private) {}
SharedContext::~SharedContext() = default;

QOpenGLContext* SharedContext::glContext() const
{
    return d->context;
}

void SharedContext::lock()
{
    d->order.lock();
}

void SharedContext::unlock()
{
    d->order.unlock();
}

struct Viewer::Private
{
    tov::util::ZPointer<Scene> scene{new Scene};
    SharedContext shared;
    std::atomic<bool> fboAvailable{false};
    QString renderer;
    int maxTextureSize = 0;
    std::mutex panelsMutex; ///< held while another thread uses panels, and while one comes or goes
    std::vector<ScenePanel*> panels;
    QPointer<ScenePanel> active;
};

Viewer* Viewer::getInstance()
{
    static Viewer* instance = new Viewer;
    return instance;
}

Viewer::Viewer() : d(new Private)
{
    tov::main::CastClassManager::getInstance()->registerCastClass(typeid(ScenePanel), [] { return new PanelCast; });
}

Viewer::~Viewer() = default;

bool Viewer::initialize()
{
    using tov::log::Logger;
    if (d->shared.glContext())
        return d->fboAvailable;
    const auto fail = [](const char* reason) {
        Logger::log(tov::log::LevelError, "scene/viewer", __LINE__, "initialize", nullptr,
                    "OpenGL cannot be used here, so there are no pictures and videos: %s", reason);
        return false;
    };
    auto context = std::make_unique<QOpenGLContext>();
    if (QOpenGLContext::globalShareContext())
        context->setShareContext(QOpenGLContext::globalShareContext());
    if (!context->create())
        return fail("no OpenGL context could be made");
    auto surface = std::make_unique<QOffscreenSurface>();
    surface->setFormat(context->format());
    surface->create();
    if (!surface->isValid() || !context->makeCurrent(surface.get()))
        return fail("the OpenGL context cannot be made current");
    d->fboAvailable = QOpenGLFramebufferObject::hasOpenGLFramebufferObjects();
    const auto text = [&context](GLenum name) {
        return QString::fromLatin1(reinterpret_cast<const char*>(context->functions()->glGetString(name)));
    };
    d->renderer = QStringLiteral("%1, OpenGL %2").arg(text(GL_RENDERER), text(GL_VERSION));
    context->functions()->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &d->maxTextureSize);
    context->doneCurrent();
    d->shared.d->surface = std::move(surface);
    d->shared.d->context = context.release();
    Logger::log(tov::log::LevelInformation, "scene/viewer", __LINE__, __func__, nullptr,
                QStringLiteral("Drawing with %1").arg(d->renderer));
    if (!d->fboAvailable)
        return fail("framebuffer objects are missing");
    return true;
}

void Viewer::shutdown()
{
    while (!d->panels.empty())
        closePanel(d->panels.back());
    d->scene->setRootNode(nullptr);
    if (QOpenGLContext* context = d->shared.glContext()) {
        if (context->makeCurrent(d->shared.d->surface.get())) {
            GeometryElement::Buffers::collect();
            context->doneCurrent();
        }
        d->shared.d->context = nullptr;
        delete context;
        d->shared.d->surface.reset();
    }
    d->fboAvailable = false;
}

tov::util::ZPointer<Scene> Viewer::getGlobalScene() const
{
    return d->scene;
}

bool Viewer::isFboAvailable() const
{
    return d->fboAvailable;
}

int Viewer::getMaxTextureSize() const
{
    return d->maxTextureSize;
}

QString Viewer::getRenderer() const
{
    return d->renderer;
}

std::vector<ScenePanel*> Viewer::getPanels() const
{
    return d->panels;
}

ScenePanel* Viewer::getActivePanel() const
{
    return d->active;
}

void Viewer::setActivePanel(ScenePanel* panel)
{
    if (d->active == panel)
        return;
    d->active = panel;
    announce(panel);
}

void Viewer::announceActivePanel()
{
    announce(d->active);
}

void Viewer::closePanel(ScenePanel* panel)
{
    panel->hide();
    if (d->active == panel) {
        const auto other =
            std::find_if(d->panels.rbegin(), d->panels.rend(), [panel](ScenePanel* p) { return p != panel; });
        setActivePanel(other == d->panels.rend() ? nullptr : *other);
    }
    delete panel;
}

void Viewer::setTrajectoryCamera(const tov::math::Matrix4& eyeToScene)
{
    std::lock_guard<std::mutex> guard(d->panelsMutex);
    for (ScenePanel* panel : d->panels)
        panel->setTrajectoryCamera(eyeToScene);
}

void Viewer::redraw()
{
    for (ScenePanel* panel : d->panels)
        panel->update();
}

void Viewer::add(ScenePanel* panel)
{
    std::lock_guard<std::mutex> guard(d->panelsMutex);
    d->panels.push_back(panel);
}

void Viewer::remove(ScenePanel* panel)
{
    {
        std::lock_guard<std::mutex> guard(d->panelsMutex);
        d->panels.erase(std::remove(d->panels.begin(), d->panels.end(), panel), d->panels.end());
    }
    // Whoever deletes a panel without closing it leaves nobody with a dangling pointer.
    if (d->active == panel)
        setActivePanel(d->panels.empty() ? nullptr : d->panels.back());
}

tov::util::ZPointer<Scene> _GlobalScene()
{
    return Viewer::getInstance()->getGlobalScene();
}

SharedContext* _GlobalContext()
{
    return Viewer::getInstance()->getSharedContext();
}

SharedContext* Viewer::getSharedContext() const
{
    return &d->shared;
}

} // namespace tov::scene
