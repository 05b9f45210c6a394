// Two formats from one class: frames one after another as portable pixmaps, without transparency (ppm) and with it
// (pam).

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/log/logger.h"
#include "kernel/modules/informationobject.h"

#include <QCoreApplication>

#include <algorithm>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::log::Logger;

namespace {

struct Format
{
    const char* ending;
    const char* description;
    int channels; ///< 3 without, 4 with transparency
};

const Format Formats[] = {
    {"ppm", QT_TRANSLATE_NOOP("AnymapEncoder", "Portable pixmaps"), 3},
    {"pam", QT_TRANSLATE_NOOP("AnymapEncoder", "Portable pixmaps with transparency"), 4},
};

constexpr int LargestPixels = 500000000;

class AnymapEncoder : public Encoder
{
public:
    explicit AnymapEncoder(const Format& format) : m_Format(format) {}

protected:
    bool initEncoding(QIODevice*, bool) override
    {
        // The same object may be used for a second recording.
        m_Failed = false;
        return true;
    }

    bool encodeChunk(QIODevice* chunk, bool) override
    {
        // Larger frames do not fit into a byte array.
        if (!chunk || m_Width <= 0 || m_Height <= 0 || m_Width > LargestPixels / m_Height || !chunk->seek(0))
            return true;
        const int frameBytes = m_Width * m_Height * 4;
        QByteArray frame(frameBytes, Qt::Uninitialized);
        // A partial frame at the end is skipped.
        while (chunk->read(frame.data(), frameBytes) == frameBytes)
            write(header() + pixels(frame));
        return true;
    }

    void finishEncoding() override
    {
        // Nothing is kept back that would have to be written now.
    }

private:
    QByteArray header() const
    {
        const QByteArray size = QByteArray::number(m_Width) + ' ' + QByteArray::number(m_Height);
        if (m_Format.channels == 3)
            return "P6\n" + size + "\n255\n";
        return "P7\nWIDTH " + QByteArray::number(m_Width) + "\nHEIGHT " + QByteArray::number(m_Height) +
               "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    }

    /// Red, green, blue and, where the format has it, straight alpha.
    QByteArray pixels(const QByteArray& frame) const
    {
        QByteArray result;
        result.reserve(frame.size() / 4 * m_Format.channels);
        for (int i = 0; i < frame.size(); i += 4) {
            const int alpha = uchar(frame[i + 3]);
            for (const int channel : {2, 1, 0}) {
                const int value = uchar(frame[i + channel]);
                // The colour of a frame is multiplied by alpha; under alpha 0 stands the background's own.
                const bool straight = m_Format.channels == 3 || alpha == 0;
                result += char(straight ? value : std::min(255, (value * 255 + alpha / 2) / alpha));
            }
            if (m_Format.channels == 4)
                result += char(alpha);
        }
        return result;
    }

    void write(const QByteArray& bytes)
    {
        // Logged once; later frames are dropped, and the recording still ends as usual.
        if (m_Failed || (mp_OutputFile && mp_OutputFile->write(bytes) == bytes.size()))
            return;
        m_Failed = true;
        Logger::log(tov::log::LevelError, "anymap", __LINE__, __func__, nullptr, "The video cannot be written");
    }

    const Format& m_Format;
    bool m_Failed = false;
};

Encoder* create(void* userData)
{
    return new AnymapEncoder(*static_cast<const Format*>(userData));
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    bool registered = false;
    for (const Format& format : Formats)
        registered |= VideoEncoder::getInstance()->registerEncoder(
            create, QString::fromLatin1(format.ending),
            QCoreApplication::translate("AnymapEncoder", format.description), const_cast<Format*>(&format));
    // A format that another plug-in has registered does not prevent the others.
    return registered;
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("Anymap"), QStringLiteral("Frames as portable pixmaps"), QStringLiteral("1.0"),
            QStringLiteral("you")};
}
