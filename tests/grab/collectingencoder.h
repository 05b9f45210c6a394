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

/// A chunk as an encoder of a test received it.
struct SeenChunk
{
    bool isNull = false;
    bool isLast = false;
    bool isBuffer = false;        ///< in memory; otherwise a temporary file
    qint64 size = 0;              ///< bytes
    qint64 positionAtArrival = 0; ///< position of the device
    QString fileName;             ///< of a temporary file
    QByteArray bytes;             ///< empty unless `keepBytes` is set
};

/// The calls of the encoders of a test, and what the encoders do. Thread: any, with the mutex locked.
struct EncoderJournal
{
    std::mutex mutex;
    // The members below are guarded by mutex.
    std::vector<SeenChunk> chunks;
    std::vector<std::string> calls; ///< "init", "chunk" and "finish", in order
    int width = 0, height = 0, fps = 0, bitsPerSecond = 0;
    bool outputWasOpen = false;
    bool firstWasLast = false;
    QString captureThread; ///< name of the thread that handed the first chunk over
    int capturePriority = -1;
    int living = 0; ///< number of existing encoders
    int aborted = 0;
    // What the encoders do.
    bool keepBytes = false;
    bool refuse = false;
    bool fail = false;
    std::function<void(const SeenChunk&)> onChunk; ///< called on the runner thread
    std::function<void(const SeenChunk&)> onFirst; ///< called on the capture thread before the first chunk is accepted
    std::function<void()> onFinish;

    /// The bytes of all chunks, in order.
    QByteArray allBytes();
    std::vector<SeenChunk> seen();
    std::vector<std::string> callsSeen();
    qint64 totalSize();
};

/// Records its chunks in a journal and writes their bytes to the output file.
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
