// A whole small encoder: copies every chunk to the output file as it is. Used by tests that need real files.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/main/informationobject.h"

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

class RawCopy : public Encoder
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
    return new RawCopy;
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    return registry->registerEncoder(create, QStringLiteral("raw"), QStringLiteral("Raw frames"), nullptr) &&
           registry->registerEncoder(create, QStringLiteral("Two.Dots"), QStringLiteral("Raw frames, too"), nullptr);
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("rawcopy"), QStringLiteral("Copies frames"), QStringLiteral("1"), QStringLiteral("tests")};
}

/// Which registry this library sees; there must be one for the whole process.
extern "C" TOV_EXPORT void* registrySeen()
{
    return VideoEncoder::getInstance();
}
