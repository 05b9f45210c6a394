// A complete encoder plug-in: writes YUV4MPEG2, frames without compression that every video tool reads.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/modules/informationobject.h"

namespace {

class Y4mEncoder : public tov::grab::video::Encoder
{
protected:
    // Never refuses: a recording that cannot be written must still end normally.
    bool initEncoding(QIODevice*, bool) override
    {
        m_Started = m_Failed = false;
        return true;
    }

    bool encodeChunk(QIODevice* chunk, bool) override
    {
        // Larger frames do not fit into a byte array.
        const bool fits = m_Width > 0 && m_Height > 0 && m_Width <= 500000000 / m_Height;
        const int pixels = fits ? m_Width * m_Height : 0;
        if (!chunk || !mp_OutputFile || pixels == 0 || !chunk->seek(0))
            return true;
        QByteArray planes(pixels * 3, 0);
        for (QByteArray bgra = chunk->read(pixels * 4); bgra.size() == pixels * 4; bgra = chunk->read(pixels * 4)) {
            for (int i = 0; i < pixels; ++i) {
                // BT.709, limited range.
                const double b = uchar(bgra[4 * i]), g = uchar(bgra[4 * i + 1]), r = uchar(bgra[4 * i + 2]);
                planes[i] = char(clamp(16.5 + 0.1826 * r + 0.6142 * g + 0.0620 * b));
                planes[pixels + i] = char(clamp(128.5 - 0.1006 * r - 0.3386 * g + 0.4392 * b));
                planes[2 * pixels + i] = char(clamp(128.5 + 0.4392 * r - 0.3989 * g - 0.0403 * b));
            }
            write(m_Started
                      ? QByteArray()
                      : QByteArray("YUV4MPEG2 W") + QByteArray::number(m_Width) + " H" + QByteArray::number(m_Height) +
                            " F" + QByteArray::number(m_Fps > 0 ? m_Fps : 25) + ":1 Ip A1:1 C444\n");
            m_Started = true;
            write("FRAME\n" + planes);
        }
        return true;
    }

    void finishEncoding() override {}

private:
    /// After the first failure (a full disk) nothing more is written: the file up to here can be played.
    void write(const QByteArray& bytes) { m_Failed = m_Failed || mp_OutputFile->write(bytes) != bytes.size(); }

    bool m_Started = false;
    bool m_Failed = false;
};

tov::grab::video::Encoder* create(void*)
{
    return new Y4mEncoder;
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    return tov::grab::video::VideoEncoder::getInstance()->registerEncoder(create, QStringLiteral("y4m"),
                                                                          QStringLiteral("YUV4MPEG2 video"), nullptr);
}

extern "C" TOV_EXPORT tov::main::AdditionalInformation getInfos()
{
    return {QStringLiteral("Y4M"), QStringLiteral("Frames without compression"), QStringLiteral("1.0"),
            QStringLiteral("you")};
}
