// Encoders that each do one thing wrong, chosen by the file extension.

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/log/logger.h"

#include <QBuffer>
#include <QFile>
#include <QThread>

#include <cstdint>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;

namespace {

enum class Mistake : std::intptr_t
{
    RefusesAtStart,
    FailsAtAChunk,
    ThrowsAtStart,
    ThrowsAtAChunk,
    ThrowsAtTheEnd,
    NoEncoder,
    ReadsTooFar,
    Crashes,
    EndsTheProcess,
    NeverReturns,
    WritesNothing,
    KeepsTheFile,
    ComplainsOften,
    None,
};

class Misbehaving : public Encoder
{
public:
    explicit Misbehaving(Mistake mistake) : m_Mistake(mistake) {}

protected:
    bool initEncoding(QIODevice*, bool) override
    {
        if (m_Mistake == Mistake::ThrowsAtStart)
            throw std::runtime_error("at the start");
        return m_Mistake != Mistake::RefusesAtStart;
    }
    bool encodeChunk(QIODevice* chunk, bool) override
    {
        switch (m_Mistake) {
        case Mistake::FailsAtAChunk:
            return false;
        case Mistake::ThrowsAtAChunk:
            throw 5;
        case Mistake::Crashes:
            std::raise(SIGSEGV);
            break;
        case Mistake::EndsTheProcess:
            std::_Exit(7);
        case Mistake::NeverReturns:
            for (;;)
                QThread::msleep(100);
        case Mistake::WritesNothing:
            return true;
        default:
            break;
        }
        if (!chunk || !mp_OutputFile)
            return true;
        chunk->seek(0);
        const QByteArray bytes = chunk->readAll();
        if (m_Mistake == Mistake::ReadsTooFar)
            if (auto* memory = qobject_cast<QBuffer*>(chunk))
                m_Past = memory->data().constData()[memory->size()];
        if (mp_OutputFile->write(bytes) != bytes.size() && m_Mistake == Mistake::ComplainsOften)
            tov::log::Logger::log(tov::log::LevelError, "misbehaves", __LINE__, __func__, nullptr,
                                  "Cannot write chunk %d", ++m_Complaints);
        return true;
    }
    void finishEncoding() override
    {
        if (m_Mistake == Mistake::KeepsTheFile)
            if (auto* file = qobject_cast<QFile*>(mp_OutputFile)) {
                file->close();
                if (file->open(QIODevice::Append))
                    file->write("end");
            }
        if (m_Mistake == Mistake::ThrowsAtTheEnd)
            throw std::logic_error("at the end");
    }

private:
    Mistake m_Mistake;
    volatile char m_Past = 0;
    int m_Complaints = 0;
};

Encoder* create(void* mistake)
{
    const auto value = static_cast<Mistake>(reinterpret_cast<std::intptr_t>(mistake));
    return value == Mistake::NoEncoder ? nullptr : new Misbehaving(value);
}

} // namespace

extern "C" TOV_EXPORT bool doRegister()
{
    const struct
    {
        const char* ending;
        Mistake mistake;
    } rows[] = {{"refuses", Mistake::RefusesAtStart},       {"fails", Mistake::FailsAtAChunk},
                {"throwsatstart", Mistake::ThrowsAtStart},  {"throwsatchunk", Mistake::ThrowsAtAChunk},
                {"throwsatend", Mistake::ThrowsAtTheEnd},   {"noencoder", Mistake::NoEncoder},
                {"overreads", Mistake::ReadsTooFar},        {"crashes", Mistake::Crashes},
                {"exits", Mistake::EndsTheProcess},         {"hangs", Mistake::NeverReturns},
                {"writesnothing", Mistake::WritesNothing},  {"keepsthefile", Mistake::KeepsTheFile},
                {"complainsoften", Mistake::ComplainsOften}};
    for (const auto& row : rows)
        VideoEncoder::getInstance()->registerEncoder(create, QString::fromLatin1(row.ending),
                                                     QStringLiteral("Misbehaves"),
                                                     reinterpret_cast<void*>(row.mistake));
    return true;
}
