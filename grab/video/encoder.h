#pragma once

#include "kernel/main/export.h"

#include <QIODevice>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>

#include <deque>

class QSemaphore;

/// The interface between the module and its encoder plug-ins, by number: it changes whenever the layout or the order of
/// use of `Encoder` does. Every plug-in refers to the number that it was built with, so that one built for another is
/// an ordinary load failure ("undefined symbol: tovGrabEncoderAbi...").
extern "C" TOV_EXPORT const int tovGrabEncoderAbi1;

namespace tov::grab::video {

namespace {
[[gnu::used]] const int* const encoderAbi = &tovGrabEncoderAbi1;
} // namespace

/// Base of all video encoders. A plug-in derives from it and supplies three hooks; everything else (output file, queue,
/// thread, progress, abort) is done here.
///
/// Order of use by the capturing side: construct (by the plug-in's factory), `setOutputParameters` once,
/// `encodeVideoChunk` any number of times with `isLast` true on the final one, then `waitForFinish` or `abortEncoding`,
/// then delete.
///
/// For plug-in authors, what is guaranteed on entry to the hooks: they are never called from two threads at once;
/// `initEncoding` comes before any `encodeChunk`, `finishEncoding` after the last one; `m_Width`, `m_Height`, `m_Fps`
/// and `m_Kbps` hold what was asked for. What is not guaranteed: that sizes and rates are sensible (only odd sizes are
/// refused), that `mp_OutputFile` is there (null when it could not be opened, and on a restart without new output
/// parameters), and that a chunk is there (null when the capturing side could not make one). An exception that leaves a
/// hook counts as false.
///
/// A chunk is a device of whole frames back to back: `m_Width` x `m_Height` pixels of 4 bytes (0xAARRGGBB in the
/// machine's byte order, colour premultiplied), top row first, no padding; it may be empty. It comes positioned at its
/// end: seek to 0 first.
class TOV_EXPORT Encoder : public QObject
{
    Q_OBJECT
public:
    /// States of `m_State`; numbers like bits, but never combined.
    enum State
    {
        Idle = 0,       ///< nothing started
        Started = 1,    ///< `initEncoding` succeeded, the runner was started
        Running = 2,    ///< the runner works
        Stopped = 4,    ///< the runner has ended
        InitFailed = 8, ///< `initEncoding` refused; until `cleanUp` nothing is taken
    };

    Encoder();
    /// Frees neither chunks nor runner nor file: `waitForFinish` or `abortEncoding` must have been called before.
    ~Encoder() override;

    /// Stores the parameters and opens the output file for writing. Sizes in pixels, `fps` in frames a second, `kbps`
    /// in bits a second (the name is older than the unit). False, logged, when a size is odd or the file cannot be
    /// opened. Thread: application.
    bool setOutputParameters(const QString& filename, int width, int height, int fps, int kbps);

    /// Hands a chunk over; null is passed on as it is. True: the encoder owns it from now on. False: it refused to
    /// start and takes nothing; the chunk stays the caller's. Thread: capture.
    bool encodeVideoChunk(QIODevice* chunk, bool isLast);

    /// Blocks until everything queued is encoded, then cleans up. Needs a chunk marked last, else it waits for ever.
    /// Thread: command.
    void waitForFinish();

    /// The common end of `waitForFinish` and `abortEncoding`: lets the plug-in finish, frees everything and returns to
    /// `Idle`. Thread: that of its caller.
    void cleanUp();

    /// Truncates to a colour channel: below 0 is 0, above 255 is 255, not-a-number is 0. Thread: any.
    static unsigned char clamp(double value);

public slots:
    /// Stops after the chunk in work, drops the rest and removes the output file. Thread: command.
    void abortEncoding();

signals:
    /// Share of the chunks left at `waitForFinish` that have been taken, in percent (never 100); -1 once when the
    /// thread begins. Emitted on the runner with the queue locked: a directly connected receiver must not call back.
    void progressChanged(int percent);

protected:
    /// Starts the encoding. Called once, by `encodeVideoChunk` with the first chunk, on the capture thread. The same
    /// chunk comes again in `encodeChunk`: leave it as it was. False refuses the whole encoding: neither this nor any
    /// later chunk is taken, and nobody frees them. Never refuse because of the output; write nothing instead.
    virtual bool initEncoding(QIODevice* firstChunk, bool isLast) = 0;
    /// Encodes one chunk. Called once a chunk, in order, on the runner thread; `isLast` is true for the final one only.
    /// False ends the encoding: later chunks pile up unencoded until the recording ends.
    virtual bool encodeChunk(QIODevice* chunk, bool isLast) = 0;
    /// The last chance to write to `mp_OutputFile`. Called exactly once by every `cleanUp`, on the thread of
    /// `waitForFinish` or `abortEncoding`, after the runner has ended; also after an abort (the file is then closed and
    /// removed, `m_Aborted` is true), after a refused start, and when no chunk ever came.
    virtual void finishEncoding() = 0;

    /// Takes chunks from the queue and feeds them to `encodeChunk`.
    class Runner : public QThread
    {
    public:
        explicit Runner(Encoder* encoder);
        void run() override;
        /// Ends after the chunk in work. Thread: any.
        void stop();
        /// Ends once the queue is empty. Thread: any.
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
    int m_Fps;                          ///< frames a second
    int m_Kbps;                         ///< bits a second, whatever the name says
    int m_State = Idle;                 ///< a value of `State`; reached through std::atomic_ref
    std::deque<QIODevice*> m_Chunks;    ///< owned; guarded by m_Mutex
    QMutex m_Mutex;
    QSemaphore* mp_Semaphore = nullptr; ///< owned; a permit a chunk and one more to end
    Runner* mp_Runner = nullptr;        ///< owned
    int m_ProcessedChunks = 0;          ///< guarded by m_Mutex
    int m_TotalChunks = 0;              ///< guarded by m_Mutex; 0: no progress is reported
};

} // namespace tov::grab::video
