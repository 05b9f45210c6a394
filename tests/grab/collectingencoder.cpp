#include "tests/grab/collectingencoder.h"

#include <QBuffer>
#include <QTemporaryFile>
#include <QThread>

#include <atomic>

namespace tov::test {

namespace {

SeenChunk look(QIODevice* chunk, bool isLast)
{
    SeenChunk seen;
    seen.isLast = isLast;
    seen.isNull = chunk == nullptr;
    if (!chunk)
        return seen;
    seen.isBuffer = qobject_cast<QBuffer*>(chunk) != nullptr;
    if (auto* file = qobject_cast<QTemporaryFile*>(chunk))
        seen.fileName = file->fileName();
    seen.size = chunk->size();
    seen.positionAtArrival = chunk->pos();
    return seen;
}

} // namespace

QByteArray EncoderJournal::allBytes()
{
    std::lock_guard<std::mutex> guard(mutex);
    QByteArray bytes;
    for (const auto& chunk : chunks)
        bytes += chunk.bytes;
    return bytes;
}

std::vector<SeenChunk> EncoderJournal::seen()
{
    std::lock_guard<std::mutex> guard(mutex);
    return chunks;
}

std::vector<std::string> EncoderJournal::callsSeen()
{
    std::lock_guard<std::mutex> guard(mutex);
    return calls;
}

qint64 EncoderJournal::totalSize()
{
    std::lock_guard<std::mutex> guard(mutex);
    qint64 size = 0;
    for (const auto& chunk : chunks)
        size += chunk.size;
    return size;
}

CollectingEncoder::CollectingEncoder(EncoderJournal* journal) : mp_Journal(journal)
{
    std::lock_guard<std::mutex> guard(mp_Journal->mutex);
    ++mp_Journal->living;
}

CollectingEncoder::~CollectingEncoder()
{
    std::lock_guard<std::mutex> guard(mp_Journal->mutex);
    --mp_Journal->living;
}

tov::grab::video::Encoder* CollectingEncoder::create(void* journal)
{
    return new CollectingEncoder(static_cast<EncoderJournal*>(journal));
}

bool CollectingEncoder::initEncoding(QIODevice* firstChunk, bool isLast)
{
    std::function<void(const SeenChunk&)> hook;
    bool refuse = false;
    {
        std::lock_guard<std::mutex> guard(mp_Journal->mutex);
        mp_Journal->calls.push_back("init");
        mp_Journal->width = m_Width;
        mp_Journal->height = m_Height;
        mp_Journal->fps = m_Fps;
        mp_Journal->bitsPerSecond = m_Kbps;
        mp_Journal->outputWasOpen = mp_OutputFile && mp_OutputFile->isWritable();
        mp_Journal->firstWasLast = isLast;
        mp_Journal->captureThread = QThread::currentThread()->objectName();
        mp_Journal->capturePriority = QThread::currentThread()->priority();
        hook = mp_Journal->onFirst;
        refuse = mp_Journal->refuse;
    }
    if (hook)
        hook(look(firstChunk, isLast));
    return !refuse;
}

bool CollectingEncoder::encodeChunk(QIODevice* chunk, bool isLast)
{
    SeenChunk seen = look(chunk, isLast);
    bool keep = false, fail = false;
    std::function<void(const SeenChunk&)> hook;
    {
        std::lock_guard<std::mutex> guard(mp_Journal->mutex);
        keep = mp_Journal->keepBytes;
        fail = mp_Journal->fail;
        hook = mp_Journal->onChunk;
    }
    if (chunk) {
        chunk->seek(0);
        const QByteArray bytes = chunk->readAll();
        if (mp_OutputFile)
            mp_OutputFile->write(bytes);
        if (keep)
            seen.bytes = bytes;
    }
    {
        std::lock_guard<std::mutex> guard(mp_Journal->mutex);
        mp_Journal->calls.push_back("chunk");
        mp_Journal->chunks.push_back(seen);
    }
    if (hook)
        hook(seen);
    return !fail;
}

void CollectingEncoder::finishEncoding()
{
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> guard(mp_Journal->mutex);
        mp_Journal->calls.push_back("finish");
        if (std::atomic_ref<bool>(m_Aborted).load())
            ++mp_Journal->aborted;
        hook = mp_Journal->onFinish;
    }
    if (hook)
        hook();
}

} // namespace tov::test
