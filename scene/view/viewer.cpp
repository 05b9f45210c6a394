#include "scene/view/viewer.h"

#include "kernel/events/eventhandler.h"
#include "kernel/log/logger.h"
#include "kernel/main/castclassmanager.h"
#include "kernel/main/eventmanager.h"
#include "scene/drawing/drawbuffers.h"
#include "scene/globalscene.h"
#include "scene/view/panellist.h"
#include "scene/view/scenepanel.h"
#include "scene/drawing/sharedcontext.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace tov::scene {

using tov::gui::ScenePanel;

namespace {

/// Panels have no text form; parameters only pass them on.
class PanelCast : public tov::main::CastClass
{
public:
    PanelCast() : CastClass(false) {}
    void* fromString(const QString&) override { throw std::invalid_argument("a scene panel has no text"); }
    QString toString(const void*) override { return QString(); }
    void deleteValue(void* value) override { delete static_cast<ScenePanel*>(value); }
};

} // namespace

struct Viewer::Private
{
    std::atomic<bool> fboAvailable{false};
    QString renderer;
    int maxTextureSize = 0;
};

Viewer* Viewer::getInstance()
{
    static Viewer* instance = new Viewer;
    return instance;
}

Viewer::Viewer() : d(new Private)
{
    tov::main::CastClassManager::getInstance()->registerCastClass(typeid(ScenePanel), [] { return new PanelCast; });
    tov::main::EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENE_GLOBALSCALING_CHANGED"),
        [](const tov::main::Event*) {
            PanelList::getInstance()->forEach([](ScenePanel& panel) { panel.updateScaling(); });
        },
        static_cast<const void*>(this));
}

Viewer::~Viewer() = default;

bool Viewer::initialize()
{
    using tov::log::Logger;
    if (_GlobalContext()->glContext())
        return d->fboAvailable;
    const auto fail = [](const char* reason) {
        Logger::log(tov::log::LevelError, "scene/viewer", __LINE__, "initialize", nullptr,
                    "OpenGL cannot be used, so no pictures and videos can be made: %s", reason);
        return false;
    };
    auto context = std::make_unique<QOpenGLContext>();
    if (QOpenGLContext::globalShareContext())
        context->setShareContext(QOpenGLContext::globalShareContext());
    if (!context->create())
        return fail("no OpenGL context can be created");
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
    _GlobalContext()->adopt(std::move(context), std::move(surface));
    Logger::log(tov::log::LevelInformation, "scene/viewer", __LINE__, __func__, nullptr,
                QStringLiteral("Drawing with %1").arg(d->renderer));
    if (!d->fboAvailable)
        return fail("framebuffer objects are missing");
    return true;
}

void Viewer::shutdown()
{
    while (!getPanels().empty())
        closePanel(getPanels().back());
    getGlobalScene()->setRootNode(nullptr);
    _GlobalContext()->destroy([] { GeometryElement::Buffers::collect(); });
    d->fboAvailable = false;
}

tov::util::ZPointer<Scene> Viewer::getGlobalScene() const
{
    return _GlobalScene();
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
    return PanelList::getInstance()->getPanels();
}

ScenePanel* Viewer::getActivePanel() const
{
    return PanelList::getInstance()->getActive();
}

void Viewer::setActivePanel(ScenePanel* panel)
{
    PanelList::getInstance()->setActive(panel);
}

void Viewer::announceActivePanel()
{
    PanelList::getInstance()->announceActive();
}

void Viewer::closePanel(ScenePanel* panel)
{
    panel->hide();
    if (getActivePanel() == panel) {
        const auto panels = getPanels();
        const auto other = std::find_if(panels.rbegin(), panels.rend(), [panel](ScenePanel* p) { return p != panel; });
        setActivePanel(other == panels.rend() ? nullptr : *other);
    }
    delete panel;
}

void Viewer::setTrajectoryCamera(const tov::math::Matrix4& eyeToScene)
{
    PanelList::getInstance()->forEach([&](ScenePanel& panel) { panel.setTrajectoryCamera(eyeToScene); });
}

void Viewer::setTrajectoryCamera(const Camera& camera)
{
    PanelList::getInstance()->forEach([&](ScenePanel& panel) { panel.setTrajectoryCamera(camera); });
}

void Viewer::redraw()
{
    for (ScenePanel* panel : getPanels())
        panel->update();
}

} // namespace tov::scene
