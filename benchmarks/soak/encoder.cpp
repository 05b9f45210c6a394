// Encoders for soak. "slow" takes TOV_SOAK_FRAME_MS milliseconds per frame and writes only its first four pixels, so
// that long recordings make small files; "raw" writes complete frames.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"

#include <QByteArray>
#include <QFileDevice>
#include <QThread>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

constexpr qint64 KeptBytes = 16;

class SoakEncoder : public Encoder
{
public:
    explicit SoakEncoder(bool slow) : m_Slow(slow) {}

protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice* chunk, bool) override
    {
        if (!chunk || !mp_OutputFile)
            return true;
        const qint64 frameBytes = qint64(m_Width) * m_Height * 4;
        chunk->seek(0);
        while (true) {
            const QByteArray frame = chunk->read(frameBytes);
            if (frame.isEmpty())
                return true;
            // An incomplete frame makes the size of the file wrong, which soak detects.
            const qint64 kept = m_Slow && frame.size() == frameBytes ? KeptBytes : frame.size();
            if (mp_OutputFile->write(frame.constData(), kept) != kept)
                return false;
            if (!m_Slow)
                continue;
            // soak reads the progress from the size of the file.
            if (auto* file = qobject_cast<QFileDevice*>(mp_OutputFile))
                file->flush();
            QThread::usleep(static_cast<unsigned long>(1000 * qEnvironmentVariable("TOV_SOAK_FRAME_MS").toDouble()));
        }
    }
    void finishEncoding() override {}

private:
    bool m_Slow;
};

Encoder* createSlow(void*)
{
    return new SoakEncoder(true);
}

Encoder* createRaw(void*)
{
    return new SoakEncoder(false);
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    VideoEncoder* registry = VideoEncoder::getInstance();
    return registry->registerEncoder(createSlow, QStringLiteral("slow"), QStringLiteral("Slow"), nullptr) &&
           registry->registerEncoder(createRaw, QStringLiteral("raw"), QStringLiteral("Raw frames"), nullptr);
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("soakencoder"), QStringLiteral("Encoders for soak"), QStringLiteral("1"),
            QStringLiteral("tests")};
}
