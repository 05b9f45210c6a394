// Encoders that disturb a running recording, chosen by the file extension. TOV_CHUNK_SECONDS: the time that the slow
// one takes per chunk, default 2.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"

#include <QThread>

#include <cstdint>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

enum class Trouble : std::intptr_t
{
    IsSlow,
    MovesTheChunk,
    ClosesTheChunk,
    FailsInTheMiddle,
    FailsAtTheLast,
    ThrowsAtTheLast,
};

class Troublesome : public Encoder
{
public:
    explicit Troublesome(Trouble trouble) : m_Trouble(trouble) {}

protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice* chunk, bool isLast) override
    {
        ++m_Chunks;
        if (m_Trouble == Trouble::IsSlow)
            QThread::sleep(qEnvironmentVariableIsSet("TOV_CHUNK_SECONDS")
                               ? unsigned(qEnvironmentVariableIntValue("TOV_CHUNK_SECONDS"))
                               : 2);
        if (m_Trouble == Trouble::FailsInTheMiddle && m_Chunks == 3)
            return false;
        if (m_Trouble == Trouble::FailsAtTheLast && isLast)
            return false;
        if (m_Trouble == Trouble::ThrowsAtTheLast && isLast)
            throw 1;
        if (!chunk || !mp_OutputFile)
            return true;
        chunk->seek(0);
        mp_OutputFile->write(chunk->readAll());
        if (m_Trouble == Trouble::MovesTheChunk)
            chunk->seek(chunk->size() / 3);
        if (m_Trouble == Trouble::ClosesTheChunk)
            chunk->close();
        return true;
    }
    void finishEncoding() override {}

private:
    Trouble m_Trouble;
    int m_Chunks = 0;
};

Encoder* create(void* trouble)
{
    return new Troublesome(static_cast<Trouble>(reinterpret_cast<std::intptr_t>(trouble)));
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    const struct
    {
        const char* ending;
        Trouble trouble;
    } rows[] = {{"slow", Trouble::IsSlow},
                {"moves", Trouble::MovesTheChunk},
                {"closes", Trouble::ClosesTheChunk},
                {"failsmiddle", Trouble::FailsInTheMiddle},
                {"failslast", Trouble::FailsAtTheLast},
                {"throwslast", Trouble::ThrowsAtTheLast}};
    for (const auto& row : rows)
        VideoEncoder::getInstance()->registerEncoder(create, QString::fromLatin1(row.ending),
                                                     QStringLiteral("Troublesome"),
                                                     reinterpret_cast<void*>(row.trouble));
    return true;
}
