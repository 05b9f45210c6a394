#include "kernel/events/eventhandler.h"
#include "kernel/commands/command.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/module.h"
#include "kernel/modules/modulefactory.h"
#include "kernel/modules/moduleloader.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QImage>
#include <QLibrary>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <ostream>
#include <vector>

#include <dlfcn.h>

using namespace tov::main;
using tov::events::EventHandler;
using tov::test::LogCapture;

namespace {

const char* const ModuleFile = TOV_BINARY_DIR "/bin/modules/libgrab.so";

const char* const SceneNames[] = {
    "POINTS_SELECTED",
    "POINTS_DESELECTED",
    "POINTS_REPLACED",
    "SCENE_ELEMENTS_SELECTION",
    "SCENE_ELEMENTS_REPARENTED",
    "SCENE_ELEMENTS_RENAMED",
    "SCENE_MEASURING_CHANGED",
    "SCENE_GLOBALSCALING_CHANGED",
    "SCENE_TRANSFORM_LOCKED",
    "SCENE_TRANSFORM_UNLOCKED",
    "SCENE_STRUCTURE_LOCKED",
    "SCENE_STRUCTURE_UNLOCKED",
    "SCENE_ELEMENT_ADDED",
    "SCENE_ELEMENT_REMOVED",
    "SCENE_ELEMENT_RENAMED",
    "SCENE_ELEMENT_FOCUSED",
    "SCENE_ELEMENT_SHOWN",
    "SCENE_ELEMENT_HIDDEN",
    "SCENE_ELEMENT_BBOX_SHOWN",
    "SCENE_ELEMENT_BBOX_HIDDEN",
    "SCENE_ELEMENT_CHILD_ADDED",
    "SCENE_ELEMENT_CHILD_REMOVED",
    "SCENE_ELEMENT_CHILDS_REORDERED",
    "SCENE_ELEMENT_BEFORE_DELETED",
    "SCENE_ELEMENT_DELETED",
    "SCENE_ELEMENT_TRANSFORM_START",
    "SCENE_ELEMENT_TRANSFORM_FINISH",
    "SCENE_ELEMENT_TRANSFORM_FINISHED",
    "SCENE_ELEMENT_TRANSFORM_STARTING",
    "SCENE_ELEMENT_MULTIPLE_TRANSFORM_START",
    "SCENE_ELEMENT_MULTIPLE_TRANSFORM_FINISH",
    "SCENEPANEL_CHANGED",
    "LINESSCENEELEMENT_DATACHANGED",
    "LINESSCENEELEMENT_COLORCHANGED",
    "RESCALE_DATA",
    "SCENE_REDRAW",
};
const char* const GlobalNames[] = {
    "MACRO_STARTED",     "MACRO_STOPPED",      "REDO_AVAILABLE",   "REDO_NOT_AVAILABLE",
    "UNDO_AVAILABLE",    "UNDO_NOT_AVAILABLE", "SETTINGS_CHANGED", "SETTINGS_LOCKED",
    "SETTINGS_UNLOCKED", "RESET_SETTINGS",     "KERNEL_IS_ONLINE",
};

QStringList expectedDeclarations()
{
    QStringList scene, global;
    for (const char* name : SceneNames)
        scene << QStringLiteral("Scene/") + QLatin1String(name);
    for (const char* name : GlobalNames)
        global << QStringLiteral("Global/") + QLatin1String(name);
    const QString grabbed = QStringLiteral("Grab/PICTURE_GRABBED");
    // Module, entry points, video grab command, video settings command, image grab command.
    return QStringList{grabbed, grabbed} + scene + global + global + scene + global;
}

typedef ModuleFactory* (*GetFactory)();
typedef void (*RecycleFactory)();

void ignore(const QString&) {}

/// A call that the library made when it was loaded or unloaded, with the number of events registered before.
struct Step
{
    QString what;
    std::size_t declarations;
};
bool operator==(const Step& a, const Step& b)
{
    return a.what == b.what && a.declarations == b.declarations;
}
std::ostream& operator<<(std::ostream& stream, const Step& step)
{
    return stream << step.what.toStdString() << " after " << step.declarations;
}
// Created on first use and never freed: other libraries register their resources before the objects of this program are
// constructed, and unregister them after these are destroyed.
std::vector<Step>& steps()
{
    static auto* const noted = new std::vector<Step>;
    return *noted;
}
std::vector<const unsigned char*>& resourceData()
{
    static auto* const noted = new std::vector<const unsigned char*>;
    return *noted;
}

void note(const QString& what)
{
    steps().push_back({what, EventHandler::getInstance()->getDeclarations().size()});
}

template <typename Function>
Function next(const char* name)
{
    void* address = dlsym(RTLD_NEXT, name);
    if (!address)
        qFatal("there is no other %s", name);
    return reinterpret_cast<Function>(address);
}

} // namespace

// The definitions of this program replace those of the libraries, record the call and call the original.

typedef bool (*ResourceFunction)(int, const unsigned char*, const unsigned char*, const unsigned char*);

TOV_EXPORT bool qRegisterResourceData(int version, const unsigned char* tree, const unsigned char* names,
                                      const unsigned char* data)
{
    note(QStringLiteral("register resources %1").arg(version));
    resourceData().push_back(data);
    return next<ResourceFunction>("_Z21qRegisterResourceDataiPKhS0_S0_")(version, tree, names, data);
}

TOV_EXPORT bool qUnregisterResourceData(int version, const unsigned char* tree, const unsigned char* names,
                                        const unsigned char* data)
{
    note(QStringLiteral("unregister resources %1").arg(version));
    resourceData().push_back(data);
    return next<ResourceFunction>("_Z23qUnregisterResourceDataiPKhS0_S0_")(version, tree, names, data);
}

bool ModuleFactory::registerPrimaryCommand(Command* (*create)())
{
    note(QStringLiteral("command"));
    return next<bool (*)(ModuleFactory*, Command * (*)())>(
        "_ZN3tov4main13ModuleFactory22registerPrimaryCommandEPFPNS0_7CommandEvE")(this, create);
}

// The first test: a library that stays loaded would not register again.
TEST(ModuleLibrary, RegistersEventsThenVideoSettingsAndPictureCommandThenResources)
{
    EventHandler::getInstance()->recordDeclarations(true);
    const auto before = EventHandler::getInstance()->getDeclarations().size();
    steps().clear();
    resourceData().clear();
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load()) << library.errorString().toStdString();
    const QString registered = QStringLiteral("register resources 2"), command = QStringLiteral("command");
    // The first command creates the factory; the resources are the last unit.
    EXPECT_EQ(steps(), (std::vector<Step>{{registered, before + 49},
                                          {command, before + 49},
                                          {command, before + 60},
                                          {command, before + 107},
                                          {registered, before + 107}}));
    const auto all = EventHandler::getInstance()->getDeclarations();
    QStringList seen;
    for (std::size_t i = before; i < all.size(); ++i)
        seen << all[i].category + QLatin1Char('/') + all[i].name;
    EXPECT_EQ(seen.size(), 107);
    EXPECT_EQ(seen, expectedDeclarations());

    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    ASSERT_TRUE(getFactory && recycleFactory);
    const auto& commands = getFactory()->getPrimaryCommands();
    ASSERT_EQ(commands.size(), 3u);
    const char* const names[] = {"grabvideo", "setvideosettings", "grabimage"};
    for (std::size_t i = 0; i < 3; ++i) {
        Command* command = commands[i]();
        EXPECT_EQ(command->getDescriptor()->getName(), QLatin1String(names[i]));
        Overseer::getInstance()->getCommandProcessor()->destroyCommand(command);
    }
    steps().clear();
    recycleFactory();
    EXPECT_EQ(steps().size(), 1u) << "the factory unregisters its resources";
    library.unload();
    const QString unregistered = QStringLiteral("unregister resources 2");
    EXPECT_EQ(steps(), (std::vector<Step>{{unregistered, before + 107}, {unregistered, before + 107}}));
    ASSERT_EQ(resourceData().size(), 4u);
    for (const unsigned char* data : resourceData())
        EXPECT_EQ(data, resourceData()[0]) << "the same data all four times";
}

TEST(ModuleLibrary, AFactoryCanBeRecycledAndCreatedAgain)
{
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    ModuleFactory* first = getFactory();
    EXPECT_EQ(getFactory(), first);
    EXPECT_EQ(first->getPrimaryCommands().size(), 3u);
    InformationObject* information = first->getInformationObject();
    ASSERT_TRUE(information);
    EXPECT_EQ(information->getName(), "Grab");
    EXPECT_EQ(information->getDescription(), "Offers picture and video grabbing of the scene");
    const QImage icon = information->getIcon().pixmap(512, 512).toImage();
    EXPECT_FALSE(icon.isNull());
    EXPECT_EQ(icon, QIcon(QStringLiteral(":/module_grab/image/grabscene.png")).pixmap(512, 512).toImage());
    EXPECT_NE(icon, QIcon(QStringLiteral(":/module_grab/image/grabvideo.png")).pixmap(512, 512).toImage());
    EXPECT_TRUE(information->getHelpUrl().isEmpty());
    EXPECT_TRUE(information->getHomeUrl().isEmpty());
    recycleFactory();
    ModuleFactory* second = getFactory();
    ASSERT_TRUE(second);
    ASSERT_TRUE(second->getInformationObject());
    EXPECT_EQ(second->getInformationObject()->getName(), "Grab");
    EXPECT_TRUE(second->getPrimaryCommands().empty()) << "the static registration is not repeated";
    recycleFactory();
    // The factory was deleted: another one is created and destroyed at once.
    recycleFactory();
    EXPECT_TRUE(getFactory()->getPrimaryCommands().empty());
    recycleFactory();
    library.unload();
}

TEST(ModuleLibrary, ResourcesExistAsLongAsTheFactory)
{
    const QString icon = QStringLiteral(":/module_grab/image/grabscene.png");
    EXPECT_FALSE(QFile::exists(icon));
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    EXPECT_TRUE(QFile::exists(icon));
    EXPECT_TRUE(QFile::exists(QStringLiteral(":/module_grab/image/grabvideo.png")));
    EXPECT_FALSE(QImage(icon).isNull());
    EXPECT_FALSE(QImage(QStringLiteral(":/module_grab/image/grabvideo.png")).isNull());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    getFactory();
    recycleFactory();
    getFactory();
    EXPECT_TRUE(QFile::exists(icon)) << "the next factory registers them again";
    recycleFactory();
    library.unload();
    EXPECT_FALSE(QFile::exists(icon));
}

TEST(ModuleLibrary, TwoModulesShareTheInformation)
{
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    Module* one = getFactory()->createModule();
    Module* two = getFactory()->createModule();
    EXPECT_NE(one, two);
    EXPECT_EQ(one->getInformationObject(), two->getInformationObject());
    EXPECT_EQ(one->getInformationObject(), getFactory()->getInformationObject());
    delete two;
    delete one;
    recycleFactory();
    library.unload();
}

TEST(ModuleLibrary, TheModuleNamesItsGroupsAndStartsWithTwoMessages)
{
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    EXPECT_FALSE(EventHandler::getInstance()->isRegistered("Grab"));
    Module* module = getFactory()->createModule();
    EXPECT_TRUE(EventHandler::getInstance()->isRegistered("Grab"));
    EXPECT_TRUE(module->canBeLoaded());
    Module::GUIDescriptions expected;
    expected[1][QStringLiteral("Grab")] = MenuAndToolbarManager::Position(5000);
    expected[2][QStringLiteral("Grab")] = MenuAndToolbarManager::Position(10);
    expected[8][QStringLiteral("Grab")] = MenuAndToolbarManager::Position(500);
    EXPECT_TRUE(module->getGUIDescriptions() == expected);
    QStringList messages;
    module->initialize(
        [&messages](const QString& message) { messages << QString(message.constData(), message.size()); });
    EXPECT_EQ(messages, (QStringList{"Initializing Video", "Loading video encoder plugins"}));
    try {
        module->initialize(Module::Progress());
        ADD_FAILURE() << "an empty sink must not be called";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "call to empty boost::function");
    }
    module->finalize();
    delete module;
    EXPECT_FALSE(EventHandler::getInstance()->isRegistered("Grab"));
    recycleFactory();
    library.unload();
}

TEST(ModuleLibrary, StartingLoadsTheEncodersAndTheModulesEndUnloadsThem)
{
    const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video"));
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    const QString plugin = folder.filePath(QStringLiteral("rawcopy.so"));
    QFile::remove(plugin);
    ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_BINARY_DIR "/tests/zoo/rawcopy.so"), plugin));
    const auto isLoaded = [name = QFile::encodeName(plugin)] {
        void* handle = dlopen(name.constData(), RTLD_NOW | RTLD_NOLOAD);
        return handle && dlclose(handle) == 0;
    };
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    Module* module = getFactory()->createModule();
    EXPECT_FALSE(isLoaded());
    std::vector<bool> loadedAtMessage;
    module->initialize([&](const QString&) { loadedAtMessage.push_back(isLoaded()); });
    EXPECT_EQ(loadedAtMessage, (std::vector<bool>{false, false})) << "both messages precede";
    EXPECT_TRUE(isLoaded());
    module->finalize();
    EXPECT_TRUE(isLoaded()) << "nothing ends before the module does";
    delete module;
    EXPECT_FALSE(isLoaded());
    recycleFactory();
    library.unload();
    QFile::remove(plugin);
}

TEST(ModuleLibrary, VirtualFunctionsEndWithCanBeLoadedInitializeFinalize)
{
    QLibrary library(QString::fromLatin1(ModuleFile));
    ASSERT_TRUE(library.load());
    const auto getFactory = GetFactory(library.resolve("getFactory"));
    const auto recycleFactory = RecycleFactory(library.resolve("recycleFactory"));
    ModuleFactory* factory = getFactory();
    void** factoryTable = *reinterpret_cast<void***>(factory);
    Module* module = reinterpret_cast<Module* (*)(ModuleFactory*)>(factoryTable[2])(factory);
    ASSERT_TRUE(module);
    void** table = *reinterpret_cast<void***>(module);
    const auto symbol = [](void* address) {
        Dl_info info;
        return dladdr(address, &info) && info.dli_sname ? std::string(info.dli_sname) : std::string();
    };
    EXPECT_NE(symbol(table[2]).find("registerCommand"), std::string::npos) << symbol(table[2]);
    EXPECT_NE(symbol(table[3]).find("getGUIDescriptions"), std::string::npos);
    EXPECT_NE(symbol(table[4]).find("canBeLoaded"), std::string::npos);
    EXPECT_NE(symbol(table[5]).find("initialize"), std::string::npos);
    EXPECT_NE(symbol(table[6]).find("finalize"), std::string::npos);
    reinterpret_cast<void (*)(Module*)>(table[1])(module);
    EXPECT_FALSE(ModuleManager::getInstance()->getModule(QStringLiteral("Grab")));
    recycleFactory();
    library.unload();
}

TEST(ModuleLoading, TheHostLoadsUsesAndUnloadsTheModule)
{
    tov::scene::Viewer::getInstance()->initialize();
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    LogCapture log;
    {
        ModuleLoader loader;
        Module* module = loader.loadFile(QString::fromLatin1(ModuleFile), ignore);
        ASSERT_TRUE(module) << log.text();
        EXPECT_EQ(ModuleManager::getInstance()->getModule(QStringLiteral("Grab")), module);
        QStringList names;
        for (Command* command : processor->getPrimaryCommands())
            names << command->getDescriptor()->getName();
        // The library was loaded before in this process. It registers on every load.
        EXPECT_EQ(names, (QStringList{"grabvideo", "setvideosettings", "grabimage"}));
        EXPECT_EQ(module->getCommands().size(), 3u);
        EXPECT_FALSE(loader.loadFile(QString::fromLatin1(ModuleFile), ignore)) << "twice";
    }
    EXPECT_TRUE(processor->getPrimaryCommands().empty());
    EXPECT_FALSE(ModuleManager::getInstance()->getModule(QStringLiteral("Grab")));
    EXPECT_EQ(dlopen(ModuleFile, RTLD_NOW | RTLD_NOLOAD), nullptr) << "unloaded";
}

TEST(ModuleLoading, TheModuleCanBeUnloadedDuringARecordingAndAPicture)
{
    auto* viewer = tov::scene::Viewer::getInstance();
    viewer->initialize();
    const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video"));
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    const QString plugin = folder.filePath(QStringLiteral("rawcopy.so"));
    QFile::remove(plugin);
    ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_BINARY_DIR "/tests/zoo/rawcopy.so"), plugin));
    tov::test::TemporarySettings settings;
    tovSettings().setValue(QStringLiteral("settings/lowspacelimit"), 0);
    // One frame per chunk, so that the file grows at once.
    tovSettings().setValue(QStringLiteral("settings/grabvideotempfilesize"), 0);
    const auto endsByItself = [](const CommandRunPointer& run) { return run->getCommandName() == "grabimage"; };
    enum Moment
    {
        AtOnce,   ///< right after the start
        Underway, ///< when a part has been done
        Finished, ///< right after the end, while its last messages are still posted
        Moments
    };
    int cases = 0;
    for (const char* text :
         {"grabvideo filename=\"%1\" width=64 height=48 sync=0", "grabimage filename=\"%1\" width=3000"})
        for (int moment = 0; moment < Moments; ++moment)
            for (const bool panelFirst : {false, true}) {
                const bool video = QByteArray(text).startsWith("grabvideo");
                SCOPED_TRACE(std::string(text) + ", moment " + std::to_string(moment) + (panelFirst ? ", panel" : ""));
                QTemporaryDir made;
                const QString file = made.filePath(video ? QStringLiteral("a.raw") : QStringLiteral("a.png"));
                LogCapture log;
                auto* processor = Overseer::getInstance()->getCommandProcessor();
                auto loader = std::make_unique<ModuleLoader>();
                ASSERT_TRUE(loader->loadFile(QString::fromLatin1(ModuleFile), ignore)) << log.text();
                auto* panel = new tov::gui::ScenePanel;
                panel->resize(160, 120);
                viewer->setActivePanel(panel);
                viewer->announceActivePanel();
                processor->drain();
                QString error;
                CommandRunPointer run;
                // The commands get the event a moment later.
                ASSERT_TRUE(tov::test::processUntil([&] {
                    viewer->announceActivePanel();
                    processor->drain();
                    run = processor->start(QString::fromLatin1(text).arg(file), &error);
                    return run != nullptr;
                })) << error.toStdString();
                if (moment != AtOnce) {
                    ASSERT_TRUE(tov::test::processUntil([&] {
                        return video ? QFileInfo(file).size() > 0 : run->getProcessed() > 0 || run->isFinished();
                    }));
                }
                if (moment == Finished) {
                    if (!endsByItself(run))
                        run->stop();
                    ASSERT_TRUE(run->wait(60000));
                }
                if (panelFirst)
                    viewer->closePanel(panel);
                loader.reset();
                EXPECT_TRUE(run->isFinished()) << "no code of the module is running";
                EXPECT_TRUE(processor->getRuns().empty());
                EXPECT_EQ(dlopen(ModuleFile, RTLD_NOW | RTLD_NOLOAD), nullptr) << "unloaded";
                run.reset();
                QCoreApplication::processEvents();
                if (!panelFirst)
                    viewer->closePanel(panel);
                QCoreApplication::processEvents();
                const bool exists = QFile::exists(file);
                EXPECT_TRUE(exists || moment != Finished);
                if (video) {
                    EXPECT_EQ(QFileInfo(file).size() % (64 * 48 * 4), 0) << "complete frames only";
                } else if (exists) {
                    EXPECT_EQ(QImage(file).width(), 3000);
                }
                ++cases;
            }
    std::printf("module unloaded: %d of 12\n", cases);
    QFile::remove(plugin);
}

TEST(ModuleLoading, FilesThatAreNotModulesAreReportedAndSkipped)
{
    QTemporaryDir folder;
    QFile text(folder.filePath(QStringLiteral("text.so")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("no library");
    text.close();
    ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_BINARY_DIR "/lib/libtovkernel.so"),
                            folder.filePath(QStringLiteral("other.so"))));
    LogCapture log;
    ModuleLoader loader;
    loader.loadFolder(folder.path(), ignore);
    EXPECT_TRUE(loader.getModules().empty());
    ASSERT_EQ(loader.getFailures().size(), 2u);
    EXPECT_EQ(loader.getFailures()[0].reason, "it exports no \"getFactory\"");
    EXPECT_EQ(log.records().size(), 2u) << log.text();
}
