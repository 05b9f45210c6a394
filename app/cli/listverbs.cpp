#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "app/common/videoformats.h"
#include "app/common/installlayout.h"
#include "app/common/runrecords.h"
#include "kernel/commands/command.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace tov::app {

using tov::main::ModuleManager;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

void print(const QString& line)
{
    std::fprintf(stdout, "%s\n", line.toLocal8Bit().constData());
}

void printParameter(const tov::main::AbstractParameter& parameter)
{
    const QString initial = parameter.getDefaultParameterForDefaultGUI();
    const QString name = parameter.getName().contains(QLatin1Char(' '))
                             ? QLatin1Char('"') + parameter.getName() + QLatin1Char('"')
                             : parameter.getName();
    print(QStringLiteral("    %1  %2%3")
              .arg(name, parameter.getDescription(), initial.isNull() ? QString() : tr("  [default %1]").arg(initial)));
}

/// Replaces this process by the checker, so that a plug-in that crashes does not crash the program.
int checkEncoder(const QString& fileName)
{
    const QByteArray checker = QFile::encodeName(InstallLayout::encoderChecker());
    const QByteArray file = QFile::encodeName(fileName);
    execl(checker.constData(), checker.constData(), file.constData(), nullptr);
    printError(
        tr("cannot start '%1': %2").arg(InstallLayout::encoderChecker(), QString::fromLocal8Bit(std::strerror(errno))));
    return ExitFailed;
}

} // namespace

int runCommands(const Options& options, int& argc, char** argv)
{
    Reporter reporter(options);
    Session session(options, reporter, argc, argv);
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    for (const tov::main::Command* command : processor->getPrimaryCommands()) {
        print(QStringLiteral("%1  %2").arg(command->getDescriptor()->getName(),
                                           command->getDescriptor()->getDescription()));
        if (const auto* set = command->getCurrentParameterSet())
            for (const auto* parameter : set->getParameters())
                printParameter(*parameter);
    }
    return ExitDone;
}

int runEncoders(const Options& options, int& argc, char** argv)
{
    constexpr int EndingColumns = 14;
    if (options.has(QStringLiteral("check")))
        return checkEncoder(options.value(QStringLiteral("check")));
    Reporter reporter(options);
    Session session(options, reporter, argc, argv);
    const auto formats = knownVideoFormats();
    for (const auto& [ending, description] : formats)
        print(QStringLiteral("%1 %2").arg(ending.leftJustified(EndingColumns), description));
    if (formats.empty()) {
        reporter.fail(tr("no video encoder is loaded; see tov modules"));
        return ExitFailed;
    }
    // What the plug-ins report about themselves, missing codecs included.
    for (auto* module : ModuleManager::getInstance()->getModules())
        for (const auto& record : module->getInformationObject()->getAdditionalInformations())
            print(QStringLiteral("%1 %2: %3").arg(record.name, record.version, record.description));
    return ExitDone;
}

int runModules(const Options& options, int& argc, char** argv)
{
    const FailureLog failures(FailureLog::Console::Ignore);
    Reporter reporter(options);
    Session session(options, reporter, argc, argv);
    const auto modules = ModuleManager::getInstance()->getModules();
    for (auto* module : modules) {
        auto* information = module->getInformationObject();
        print(QStringLiteral("%1  %2").arg(information->getName(), information->getDescription()));
        for (const auto& record : information->getAdditionalInformations())
            print(QStringLiteral("    %1  %2  %3  %4")
                      .arg(record.name, record.description, record.version, record.author));
    }
    const QString renderer = tov::scene::Viewer::getInstance()->getRenderer();
    print(tr("Renderer: %1").arg(renderer.isEmpty() ? tr("none, OpenGL cannot be used") : renderer));
    for (const QString& message : failures.messages())
        print(tr("Problem: %1").arg(message));
    if (modules.empty()) {
        reporter.fail(tr("no module could be loaded"));
        return ExitFailed;
    }
    return ExitDone;
}

} // namespace tov::app
