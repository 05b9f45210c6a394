#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"
#include "plugins/video/common/lazyencoder.h"

namespace {

constexpr char Extension[] = "frames";
constexpr char Description[] = "Numbered PNG pictures and a list of them";

bool isAvailable()
{
    return tov::plugins::video::availableFormats().contains(QLatin1String(Extension));
}

tov::grab::video::Encoder* createEncoder(void*)
{
    return new tov::plugins::video::LazyEncoder(nullptr);
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    return isAvailable() &&
           tov::grab::video::VideoEncoder::getInstance()->registerEncoder(createEncoder, QString::fromLatin1(Extension),
                                                                          QString::fromLatin1(Description), nullptr);
}

/// The registered format; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listVideoFormats()
{
    static const char* const registered[] = {Extension, Description, nullptr};
    static const char* const none[] = {nullptr};
    return isAvailable() ? registered : none;
}

/// The registered format stores transparency; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT const char* const* listAlphaFormats()
{
    static const char* const list[] = {Extension, nullptr};
    return list;
}

/// The files that the plug-in loads itself; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT QStringList getDependencies()
{
    return {tov::plugins::video::coderLibraryFile()};
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("Numbered pictures"), QStringLiteral("A PNG for every frame, and a list that players open"),
            QStringLiteral(TOV_VERSION), QStringLiteral("the tov developers")};
}
