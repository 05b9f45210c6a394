// Copies frames, and reads its files back in ways that the file ending chooses.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"

#include <cstring>
#include <stdexcept>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

class Copying : public Encoder
{
protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice* chunk, bool) override
    {
        if (!chunk || !mp_OutputFile)
            return true;
        chunk->seek(0);
        return mp_OutputFile->write(chunk->readAll()) == chunk->size();
    }
    void finishEncoding() override {}
};

Encoder* create(void*)
{
    return new Copying;
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    for (const char* ending : {"sevenframes", "unreadable", "unknown", "throwing"})
        registry->registerEncoder(create, QString::fromLatin1(ending), QString::fromLatin1(ending), nullptr);
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
