#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"
#include "plugins/video/common/lazyencoder.h"

namespace {

const QString Extension = QStringLiteral("frames");

tov::grab::video::Encoder* createEncoder(void*)
{
    return new tov::plugins::video::LazyEncoder(nullptr);
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    return tov::plugins::video::availableFormats().contains(Extension) &&
           tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
               createEncoder, Extension, QStringLiteral("Numbered PNG pictures and a list of them"), nullptr);
}

/// What the plug-in loads by itself; see docs/encoder-plugins.md.
extern "C" TOV_EXPORT QStringList getDependencies()
{
    return {tov::plugins::video::coderLibraryFile()};
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("Numbered pictures"),
            QStringLiteral("A PNG for every frame, beside a list that players open"), QStringLiteral("0.1.0"),
            QStringLiteral("the tov developers")};
}
