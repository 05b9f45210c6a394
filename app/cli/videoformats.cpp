#include "app/cli/videoformats.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/overseer.h"

namespace tov::app {

std::vector<std::pair<QString, QString>> knownVideoFormats()
{
    std::vector<std::pair<QString, QString>> formats;
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    auto* command = processor->getPrimaryCommand(QStringLiteral("grabvideo"));
    auto* set = command ? command->getCurrentParameterSet() : nullptr;
    auto* parameter = set ? set->find(QStringLiteral("filename")) : nullptr;
    auto* factory = parameter
                        ? dynamic_cast<tov::main::FileParameterPanelFactory*>(parameter->getParameterPanelFactory())
                        : nullptr;
    if (!factory)
        return formats;
    for (const auto& format : factory->formats())
        formats.emplace_back(format.extension, format.description);
    return formats;
}

QStringList knownVideoEndings()
{
    QStringList endings;
    for (const auto& [ending, description] : knownVideoFormats())
        endings << ending;
    return endings;
}

} // namespace tov::app
