// Preloaded: FFmpeg lacks the encoder that TOV_NO_CODEC names.

extern "C" {
#include <libavutil/macros.h>
#include <libavcodec/version_major.h>
}

#include <cstdlib>
#include <cstring>

#include <dlfcn.h>

extern "C" __attribute__((visibility("default"))) const void* avcodec_find_encoder_by_name(const char* name)
{
    const char* missing = std::getenv("TOV_NO_CODEC");
    if (missing && name && std::strcmp(missing, name) == 0)
        return nullptr;
    // The library was loaded by a plug-in, so RTLD_NEXT does not search it.
    static void* library = dlopen("libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR), RTLD_LAZY | RTLD_NOLOAD);
    static const auto real = reinterpret_cast<const void* (*)(const char*)>(
        library ? dlsym(library, "avcodec_find_encoder_by_name") : nullptr);
    return real ? real(name) : nullptr;
}
