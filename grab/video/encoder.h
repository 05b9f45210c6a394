#pragma once

#include "kernel/main/export.h"

#include <QIODevice>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

#include <deque>

class QSemaphore;

/// The version of the interface between the module and its encoder plug-ins. It changes with the layout or the order of
/// use of `Encoder`. Every plug-in refers to the version that it was built with, so a plug-in that does not fit fails
/// to load ("undefined symbol: tovGrabEncoderAbi...").
extern "C" TOV_EXPORT const int tovGrabEncoderAbi1;

namespace tov::grab::video {

namespace {
[[gnu::used]] const int* const encoderAbi = &tovGrabEncoderAbi1;
} // namespace

/// Base class of all video encoders. A plug-in derives from it and implements three hooks. The base class does the
/// rest: output file, queue, thread, progress, abort.
///
/// Order of use by the recording: construct (by the plug-in's factory), `setOutputParameters` once, `encodeVideoChunk`
/// any number of times with `isLast` true for the last chunk, then `waitForFinish` or `abortEncoding`, then delete.
///
/// Guaranteed for plug-ins: the hooks are never called from two threads at once; `initEncoding` comes before any
/// `encodeChunk`, `finishEncoding` after the last one; `m_Width`, `m_Height`, `m_Fps` and `m_Kbps` are set. Not
/// guaranteed: sizes and rates may be nonsense (only odd sizes are refused), `mp_OutputFile` is null if it could not be
/// opened and on a restart without new output parameters, and a chunk is null if the recording could not make one. An
/// exception that leaves a hook counts as false.
///
/// A chunk is a device with whole frames back to back: `m_Width` x `m_Height` pixels of 4 bytes (0xAARRGGBB in the
/// machine's byte order, premultiplied alpha), top row first, no padding. It may be empty. Its position is the end:
/// seek to 0 first.
class TOV_EXPORT Encoder : public QObject
{
    Q_OBJECT
public:
    /// Values of `m_State`. They look like bits but are never combined.
    enum State
    {
        Idle = 0,       ///< not started
        Started = 1,    ///< `initEncoding` succeeded and the runner was started
        Running = 2,    ///< the runner has begun
        Stopped = 4,    ///< the runner has ended
        InitFailed = 8, ///< `initEncoding` failed; chunks are refused until `cleanUp`
    };

    Encoder();
    /// Deletes neither chunks nor runner nor file: call `waitForFinish` or `abortEncoding` first.
    ~Encoder() override;

    /// Stores the parameters and opens the output file for writing. A named pipe needs a reader that has it open
    /// already. Sizes in pixels, `fps` in frames per second, `kbps` in bits per second (despite its name). False,
    /// logged, if a size is odd or the file cannot be opened. Thread: application.
    bool setOutputParameters(const QString& filename, int width, int height, int fps, int kbps);

    /// Hands a chunk over, which may be null. True: the encoder owns it from now on. False: the encoder could not
    /// start, and the caller keeps the chunk. Thread: capture.
    bool encodeVideoChunk(QIODevice* chunk, bool isLast);

    /// Waits until all queued chunks are encoded, then cleans up. Waits forever if no chunk was marked as the last one.
    /// Thread: command.
    void waitForFinish();

    /// The last step of `waitForFinish` and `abortEncoding`: lets the plug-in finish, deletes everything and sets the
    /// state to `Idle`. Thread: command.
    void cleanUp();

    /// Truncates to 8 bits: 0 for values below 0 and NaN, 255 for values above 255. Thread: any.
    static unsigned char clamp(double value);

public slots:
    /// Stops after the current chunk, drops the rest and removes the output file. Thread: command.
    void abortEncoding();

signals:
    /// Percent of the chunks that were queued when `waitForFinish` began (never 100), and -1 once when the runner
    /// begins. Emitted on the runner thread while the mutex is locked: a directly connected receiver must not call the
    /// encoder.
    void progressChanged(int percent);

protected:
    /// Starts the encoding. Called once, by `encodeVideoChunk` with the first chunk, on the capture thread.
    /// `encodeChunk` gets the same chunk again, so leave it unchanged. False refuses the whole encoding: this chunk and
    /// all later ones are refused, and nobody deletes them. Do not refuse because of the output; write nothing instead.
    virtual bool initEncoding(QIODevice* firstChunk, bool isLast) = 0;
    /// Encodes one chunk. Called once per chunk, in order, on the runner thread; `isLast` is true for the last one
    /// only. False ends the encoding: later chunks stay in the queue, unencoded, until the recording ends.
    virtual bool encodeChunk(QIODevice* chunk, bool isLast) = 0;
    /// The last chance to write to `mp_OutputFile`. Called exactly once by every `cleanUp`, on the thread of
    /// `waitForFinish` or `abortEncoding`, after the runner has ended; also after an abort (the file is then closed and
    /// removed, `m_Aborted` is true), after a refused start, and if there was no chunk at all.
    virtual void finishEncoding() = 0;

    /// Takes chunks from the queue and feeds them to `encodeChunk`.
    class Runner : public QThread
    {
    public:
        explicit Runner(Encoder* encoder);
        void run() override;
        /// Ends the thread after the current chunk. Thread: any.
        void stop();
        /// Ends the thread when the queue is empty. Thread: any.
        void finish();

    private:
        Encoder* mp_Encoder;      ///< not owned
        bool m_Running = true;    ///< reached through std::atomic_ref
        bool m_Finishing = false; ///< reached through std::atomic_ref
        Qt::HANDLE m_ThreadId = nullptr;
    };

    QIODevice* mp_OutputFile = nullptr; ///< owned; open for writing only, or null
    bool m_Aborted = false;             ///< set by `abortEncoding`, never cleared; reached through std::atomic_ref
    int m_Width;                        ///< pixels
    int m_Height;                       ///< pixels
    int m_Fps;                          ///< frames per second
    int m_Kbps;                         ///< bits per second, despite its name
    int m_State = Idle;                 ///< a value of `State`; reached through std::atomic_ref
    std::deque<QIODevice*> m_Chunks;    ///< owned; guarded by m_Mutex
    QMutex m_Mutex;
    QSemaphore* mp_Semaphore = nullptr; ///< owned; one permit per chunk and one more to end
    Runner* mp_Runner = nullptr;        ///< owned
    int m_ProcessedChunks = 0;          ///< guarded by m_Mutex
    int m_TotalChunks = 0;              ///< guarded by m_Mutex; if 0, no progress is reported
};

} // namespace tov::grab::video
