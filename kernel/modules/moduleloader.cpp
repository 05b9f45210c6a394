#include "kernel/modules/moduleloader.h"

#include "kernel/log/logger.h"
#include "kernel/commands/command.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/modulefactory.h"
#include "kernel/workers/overseer.h"
#include "kernel/util/libraryfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>

#include <algorithm>

#include <dlfcn.h>

namespace tov::main {

namespace {

struct Loaded
{
    QString fileName;
    std::unique_ptr<QLibrary> library;
    Module* module = nullptr;
    void (*recycle)() = nullptr;
};

typedef ModuleFactory* (*GetFactory)();
typedef void (*RecycleFactory)();

} // namespace

struct ModuleLoader::Private
{
    std::vector<Loaded> loaded;
    std::vector<Module*> modules;
    std::vector<LoadFailure> failures;

    Module* fail(const QString& fileName, const QString& reason)
    {
        failures.push_back({fileName, reason});
        tov::log::Logger::log(tov::log::LevelError, "main/moduleloader", __LINE__, "loadFile", nullptr,
                              QStringLiteral("The module %1 cannot be loaded: %2").arg(fileName, reason));
        return nullptr;
    }

    static void unload(Loaded& entry)
    {
        CommandProcessor* processor = Overseer::getInstance()->getCommandProcessor();
        for (Command* command : entry.module->getCommands())
            processor->removePrimaryCommand(command);
        entry.module->finalize();
        entry.module->deleteCommands();
        delete entry.module;
        entry.module = nullptr;
        entry.recycle();
        entry.library->unload();
    }
};

ModuleLoader::ModuleLoader() : d(new Private) {}

ModuleLoader::~ModuleLoader()
{
    unloadAll();
}

void ModuleLoader::loadFolder(const QString& folder, const Module::Progress& progress)
{
    const QDir directory(folder);
    for (const QFileInfo& entry :
         directory.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name))
        if (QLibrary::isLibrary(entry.absoluteFilePath()))
            loadFile(entry.absoluteFilePath(), progress);
}

Module* ModuleLoader::loadFile(const QString& fileName, const Module::Progress& progress)
{
    for (const Loaded& entry : d->loaded)
        if (entry.fileName == QFileInfo(fileName).canonicalFilePath())
            return d->fail(fileName, QStringLiteral("it is already loaded"));
    Loaded entry;
    entry.fileName = QFileInfo(fileName).canonicalFilePath();
    entry.library = std::make_unique<QLibrary>(fileName);
    entry.library->setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const QString refusal = tov::util::findLibraryProblem(fileName);
    if (!refusal.isEmpty())
        return d->fail(fileName, refusal);
    if (!entry.library->load())
        return d->fail(fileName, entry.library->errorString());
    const auto getFactory = GetFactory(entry.library->resolve("getFactory"));
    entry.recycle = RecycleFactory(entry.library->resolve("recycleFactory"));
    // The entry points must be in the file itself, not in another library that it is linked with.
    Dl_info where;
    if (getFactory && (dladdr(reinterpret_cast<void*>(getFactory), &where) == 0 ||
                       QFileInfo(QFile::decodeName(where.dli_fname)).canonicalFilePath() != entry.fileName)) {
        entry.library->unload();
        return d->fail(fileName, QStringLiteral("it exports no \"getFactory\""));
    }
    if (!getFactory || !entry.recycle) {
        entry.library->unload();
        return d->fail(fileName,
                       QStringLiteral("it exports no \"%1\"")
                           .arg(getFactory ? QStringLiteral("recycleFactory") : QStringLiteral("getFactory")));
    }

    CommandProcessor* processor = Overseer::getInstance()->getCommandProcessor();
    QString problem;
    ModuleFactory* factory = nullptr;
    try {
        factory = getFactory();
        entry.module = factory ? factory->createModule() : nullptr;
        if (!entry.module) {
            problem = QStringLiteral("its factory created no module");
        } else if (!entry.module->canBeLoaded()) {
            problem = QStringLiteral("it reports that it cannot be loaded here");
        } else {
            // Deep copies: the texts may be shown after the module's library is unloaded.
            entry.module->initialize(
                [&progress](const QString& message) { progress(QString(message.constData(), message.size())); });
            for (Command* (*create)() : factory->getPrimaryCommands()) {
                Command* prototype = create();
                entry.module->registerCommand(prototype);
                processor->addPrimaryCommand(prototype, create);
            }
        }
    } catch (const std::exception& e) {
        problem = QStringLiteral("it did not start: %1").arg(QString::fromLocal8Bit(e.what()));
    } catch (...) {
        problem = QStringLiteral("it did not start");
    }
    if (!problem.isEmpty()) {
        if (entry.module)
            Private::unload(entry);
        else {
            entry.recycle();
            entry.library->unload();
        }
        return d->fail(fileName, problem);
    }
    d->modules.push_back(entry.module);
    d->loaded.push_back(std::move(entry));
    return d->modules.back();
}

void ModuleLoader::unloadAll()
{
    while (!d->loaded.empty()) {
        d->modules.pop_back();
        Private::unload(d->loaded.back());
        d->loaded.pop_back();
    }
}

const std::vector<Module*>& ModuleLoader::getModules() const
{
    return d->modules;
}

const std::vector<LoadFailure>& ModuleLoader::getFailures() const
{
    return d->failures;
}

} // namespace tov::main
