#include "grab/module/modulegrab.h"

#include "grab/module/events.h"
#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"

#include <QIcon>
#include <QObject>

// The resource data and its registration, as the resource compiler writes them for grab.qrc.
extern int qInitResources_grab();
extern int qCleanupResources_grab();

namespace tov::grab {

using tov::main::MenuAndToolbarManager;

// The single factory of this library; null while there is none.
static ModuleGrab::ModuleGrabFactory* mp_Factory = nullptr;

ModuleGrab::ModuleGrabFactory* ModuleGrab::ModuleGrabFactory::getInstance()
{
    if (!mp_Factory)
        mp_Factory = new ModuleGrabFactory;
    return mp_Factory;
}

ModuleGrab::ModuleGrabFactory::ModuleGrabFactory()
{
    // The library registers the same data when it is loaded, too. Both stay: Qt keeps one entry, which the destructor
    // takes back and the next factory needs again.
    qInitResources_grab();
    mp_Information = new tov::main::InformationObject(
        QStringLiteral("Offers picture and video grabbing of the scene"), QStringLiteral("Grab"),
        QIcon(QStringLiteral(":/module_grab/image/grabscene.png")), QUrl(), QUrl());
}

ModuleGrab::ModuleGrabFactory::~ModuleGrabFactory()
{
    qCleanupResources_grab();
    mp_Factory = nullptr;
}

tov::main::Module* ModuleGrab::ModuleGrabFactory::createModule()
{
    return new ModuleGrab(mp_Information);
}

ModuleGrab::ModuleGrab(tov::main::InformationObject* information) : Module(information)
{
    tov::events::EventHandler::getInstance()->registerEventTypes("Grab");
    const QString group = QObject::tr("Grab");
    m_GUIDescriptions[MenuAndToolbarManager::Menu][group] = MenuAndToolbarManager::Position(5000);
    m_GUIDescriptions[MenuAndToolbarManager::ToolBar][group] = MenuAndToolbarManager::Position(10);
    m_GUIDescriptions[MenuAndToolbarManager::Settings][group] = MenuAndToolbarManager::Position(500);
}

ModuleGrab::~ModuleGrab()
{
    tov::events::EventHandler::getInstance()->unregisterEventTypes("Grab");
    if (video::VideoEncoder* registry = video::VideoEncoder::getInstance()) {
        delete registry;
        // The registry leaves its pointer alone; a module that comes after this one must find none.
        registry = nullptr;
        video::VideoEncoder::forgetInstance();
    }
}

bool ModuleGrab::canBeLoaded()
{
    return true;
}

void ModuleGrab::initialize(const Progress& progress)
{
    progress(QStringLiteral("Initializing Video"));
    progress(QStringLiteral("Loading video encoder plugins"));
    video::VideoEncoder::getInstance()->refreshPlugins();
}

void ModuleGrab::finalize() {}

} // namespace tov::grab
