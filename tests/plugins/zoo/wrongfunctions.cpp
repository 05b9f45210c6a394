// Optional functions that claim success whatever they are given.

#include "grab/video/videoencoder.h"
#include "tests/plugins/zoo/copying.h"

#include <QFile>

using tov::grab::video::VideoEncoder;

extern "C" TOV_EXPORT bool doRegister()
{
    return VideoEncoder::getInstance()->registerEncoder(createCopying, QStringLiteral("wrong"),
                                                        QStringLiteral("Raw frames"), nullptr);
}

extern "C" TOV_EXPORT int probeVideo(const char*, const bool*, long long* frames, double* seconds)
{
    *frames = 1;
    *seconds = 1;
    return 1;
}

extern "C" TOV_EXPORT int retimeVideo(const char*, const bool*, const double*, long long, double)
{
    return 1;
}

extern "C" TOV_EXPORT int joinVideos(const char* const*, const long long*, int, const char* output, const bool*)
{
    QFile file(QFile::decodeName(output));
    return file.open(QIODevice::WriteOnly) && file.write("joined") > 0 ? 1 : 0;
}
