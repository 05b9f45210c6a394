// Copies frames, and reads its files back in ways that the file extension chooses.

#include "grab/video/videoencoder.h"
#include "tests/plugins/zoo/copying.h"

#include <cstring>
#include <stdexcept>

using tov::grab::video::VideoEncoder;

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    for (const char* ending : {"sevenframes", "unreadable", "unknown", "throwing"})
        registry->registerEncoder(createCopying, QString::fromLatin1(ending), QString::fromLatin1(ending), nullptr);
    return true;
}

extern "C" TOV_EXPORT int probeVideo(const char* fileName, const bool*, long long* frames, double* seconds)
{
    const auto ends = [fileName](const char* ending) { return std::strstr(fileName, ending) != nullptr; };
    if (ends(".throwing"))
        throw std::runtime_error("while reading");
    if (ends(".sevenframes")) {
        *frames = 7;
        *seconds = 0.28;
        return 1;
    }
    return ends(".unreadable") ? 0 : -1;
}
