#include "app/common/videoformats.h"

#include "app/common/encoderplugins.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/log/logger.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/overseer.h"

#include <map>
#include <optional>

namespace tov::app {

namespace {

/// The texts that a function of a plug-in returns, up to a null; no value if it fails, which is logged.
std::optional<QStringList> listOf(const EncoderPlugin& plugin, const char* const* (*list)())
{
    QStringList texts;
    try {
        for (const char* const* text = list(); text && *text; ++text)
            texts << QString::fromUtf8(*text);
    } catch (...) {
        tov::log::Logger::log(tov::log::LevelError, "app/videoformats", __LINE__, __func__, nullptr,
                              QStringLiteral("The plug-in '%1' did not list its formats").arg(plugin.fileName()));
        return std::nullopt;
    }
    return texts;
}

/// The formats that the loaded plug-ins list (the symbol "listVideoFormats"), sorted by ending. Nothing when a plug-in
/// does not list its formats.
std::optional<std::map<QString, QString>> listedFormats()
{
    std::map<QString, QString> formats;
    for (const EncoderPlugin& plugin : EncoderPlugin::loaded()) {
        const auto list = plugin.function<const char* const*()>("listVideoFormats");
        const std::optional<QStringList> texts = list ? listOf(plugin, list) : std::nullopt;
        if (!texts)
            return std::nullopt;
        for (int i = 0; i + 1 < texts->size(); i += 2)
            formats.emplace((*texts)[i].toLower(), (*texts)[i + 1]);
    }
    return formats.empty() ? std::nullopt : std::optional(formats);
}

/// True when the function of that name of a loaded plug-in lists the ending.
bool isListed(const QString& ending, const char* function)
{
    for (const EncoderPlugin& plugin : EncoderPlugin::loaded())
        if (const auto list = plugin.function<const char* const*()>(function))
            if (listOf(plugin, list).value_or(QStringList()).contains(ending))
                return true;
    return false;
}

/// The formats that the save dialog of the recording command offers.
std::vector<std::pair<QString, QString>> dialogFormats()
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

} // namespace

std::vector<std::pair<QString, QString>> knownVideoFormats()
{
    // Creating a file dialog takes time, so it is used only for plug-ins that do not list their formats.
    if (const auto listed = listedFormats())
        return {listed->begin(), listed->end()};
    return dialogFormats();
}

QStringList knownVideoEndings()
{
    QStringList endings;
    for (const auto& [ending, description] : knownVideoFormats())
        endings << ending;
    return endings;
}

bool hasVideoAlpha(const QString& ending)
{
    return isListed(ending, "listAlphaFormats");
}

bool hasVideoBitrate(const QString& ending)
{
    return isListed(ending, "listBitrateFormats");
}

bool isStreamableVideo(const QString& ending)
{
    return isListed(ending, "listStreamFormats");
}

} // namespace tov::app
