#include "plugins/video/common/pin.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
}

#include <initializer_list>

#include <dlfcn.h>

namespace tov::plugins::video {

void pinLibraries()
{
    // FFmpeg brings dozens of libraries along, and some lose memory or threads when they are unloaded. They stay.
    for (const void* function :
         {reinterpret_cast<const void*>(&avcodec_version), reinterpret_cast<const void*>(&avformat_version),
          reinterpret_cast<const void*>(&avfilter_version)}) {
        Dl_info info;
        if (dladdr(function, &info) && info.dli_fname)
            dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

} // namespace tov::plugins::video
