#pragma once

#include "grab/video/encoder.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tov::test {

/// What an encoder of a test saw of one chunk.
struct SeenChunk
{
    bool isNull = false;
    bool isLast = false;
    bool isBuffer = false;        ///< in memory, else a temporary file
    qint64 size = 0;              ///< bytes
    qint64 positionAtArrival = 0; ///< where the device stood
    QString fileName;             ///< of a temporary file
    QByteArray bytes;             ///< left empty unless asked for
};

/// What happened to the encoders of a test, and what they shall do. Thread: any, with the mutex.
struct EncoderJournal
{
    std::mutex mutex;
    // Guarded by mutex from here on.
    std::vector<SeenChunk> chunks;
    std::vector<std::string> calls; ///< "init", "chunk", "finish" in order
    int width = 0, height = 0, fps = 0, bitsPerSecond = 0;
    bool outputWasOpen = false;
    bool firstWasLast = false;
    QString captureThread; ///< name of the thread that brought the first chunk
    int capturePriority = -1;
    int living = 0; ///< encoders
    int aborted = 0;
    // What they do.
    bool keepBytes = false;
    bool refuse = false;
    bool fail = false;
    std::function<void(const SeenChunk&)> onChunk; ///< on the runner
    std::function<void(const SeenChunk&)> onFirst; ///< on the capture thread, before the first chunk is taken
    std::function<void()> onFinish;

    /// All chunks one after the other.
    QByteArray allBytes();
    std::vector<SeenChunk> seen();
    std::vector<std::string> callsSeen();
    qint64 totalSize();
};

/// Keeps what it is given; the output file gets the raw bytes.
class CollectingEncoder : public tov::grab::video::Encoder
{
public:
    explicit CollectingEncoder(EncoderJournal* journal);
    ~CollectingEncoder() override;
    /// For `VideoEncoder::registerEncoder`; the user data is the journal.
    static tov::grab::video::Encoder* create(void* journal);

protected:
    bool initEncoding(QIODevice* firstChunk, bool isLast) override;
    bool encodeChunk(QIODevice* chunk, bool isLast) override;
    void finishEncoding() override;

private:
    EncoderJournal* mp_Journal; ///< not owned
};

} // namespace tov::test
