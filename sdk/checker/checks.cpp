#include "sdk/checker/checks.h"

#include "grab/video/encoder.h"
#include "grab/video/videoencoder.h"
#include "kernel/log/logger.h"
#include "kernel/modules/informationobject.h"
#include "kernel/util/libraryfile.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryFile>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::log::Logger;

namespace {

constexpr int Width = 64;
constexpr int Height = 48;
constexpr int Fps = 25;
constexpr int BitsPerSecond = 1000000;

/// Keeps the records of errors.
class Errors : public tov::log::LogSink
{
public:
    Errors() { Logger::addSink(this); }
    ~Errors() override { Logger::removeSink(this); }
    void write(const tov::log::LogRecord& record) override
    {
        if (record.level > tov::log::LevelError)
            return;
        std::lock_guard<std::mutex> guard(m_Mutex);
        m_Messages << record.message;
    }
    QStringList take()
    {
        std::lock_guard<std::mutex> guard(m_Mutex);
        return std::move(m_Messages);
    }

private:
    std::mutex m_Mutex;
    QStringList m_Messages; ///< guarded by m_Mutex
};

std::atomic<int> livingChunks{0};
/// The plug-in under test; never closed.
void* pluginLibrary = nullptr;

/// A chunk whose memory ends at an unreadable page, so that reading beyond the end crashes.
class GuardedChunk : public QBuffer
{
public:
    explicit GuardedChunk(qint64 size, bool noise = false)
    {
        ++livingChunks;
        const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
        m_Bytes = (std::size_t(size) + page - 1) / page * page + page;
        mp_Memory =
            static_cast<char*>(mmap(nullptr, m_Bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (mp_Memory == MAP_FAILED)
            std::abort();
        mprotect(mp_Memory + m_Bytes - page, page, PROT_NONE);
        char* pixels = mp_Memory + m_Bytes - page - std::size_t(size);
        std::minstd_rand random;
        for (qint64 i = 0; i < size; ++i)
            pixels[i] = char(i % 4 == 3 ? 255 : noise ? random() >> 8 : i * 7 + i / 4000);
        setData(QByteArray::fromRawData(pixels, int(size)));
        open(QIODevice::ReadOnly);
        seek(size);
    }
    ~GuardedChunk() override
    {
        close();
        setData(QByteArray());
        munmap(mp_Memory, m_Bytes);
        --livingChunks;
    }

private:
    char* mp_Memory;
    std::size_t m_Bytes;
};

qint64 frameBytes(int width = Width, int height = Height)
{
    return qint64(width) * height * 4;
}

QIODevice* frames(double count, int width = Width, int height = Height)
{
    return new GuardedChunk(qint64(count * double(frameBytes(width, height))));
}

QIODevice* framesInFile(int count)
{
    auto* file = new QTemporaryFile;
    if (!file->open())
        std::abort();
    file->write(QByteArray(int(frameBytes()) * count, '\x40'));
    return file;
}

/// One check of one format, and the problems that it found.
class Check
{
public:
    Check(const QString& ending, const QString& folder) : m_Name(folder + QStringLiteral("/clip.") + ending) {}

    QStringList problems;

    void problem(const QString& text) { problems << text; }
    const QString& fileName() const { return m_Name; }

    std::unique_ptr<Encoder> make(int width = Width, int height = Height, int fps = Fps, int rate = BitsPerSecond,
                                  const QString& name = QString())
    {
        std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(m_Name));
        if (!encoder) {
            problem(QStringLiteral("the factory returned no encoder; a recording cannot begin"));
            return nullptr;
        }
        encoder->setOutputParameters(name.isEmpty() ? m_Name : name, width, height, fps, rate);
        return encoder;
    }
    void handOver(Encoder& encoder, QIODevice* chunk, bool isLast)
    {
        if (encoder.encodeVideoChunk(chunk, isLast))
            return;
        delete chunk;
        if (!m_Refused)
            problem(
                QStringLiteral("initEncoding refuses: neither this nor any later chunk of a recording is freed; return "
                               "true and write nothing instead"));
        m_Refused = true;
    }
    /// After a recording without a fault.
    void expectFile()
    {
        const QFileInfo info(m_Name);
        if (!info.exists() || info.size() == 0)
            problem(QStringLiteral("frames were recorded, but nothing was written"));
    }
    void expectNoFile()
    {
        if (QFile::exists(m_Name))
            problem(
                QStringLiteral("the file is there after an abort; leave mp_OutputFile alone when m_Aborted is set"));
    }
    /// At the end: no object is left, and only provoked errors were logged.
    void close(Errors& errors, int allowed)
    {
        const QStringList own{QStringLiteral("Encoder: Couldn't open file"),
                              QStringLiteral("Couldn't initialize video")};
        int count = 0;
        QStringList messages = errors.take();
        for (const QString& message : messages) {
            if (message == QLatin1String("Couldn't encode chunk!"))
                problem(
                    QStringLiteral("encodeChunk returned false: later chunks pile up in memory; drop the frames and "
                                   "return true"));
            else if (message.contains(QLatin1String("threw an exception")))
                problem(QStringLiteral("an exception left a hook (%1)").arg(message));
            else if (!message.startsWith(own[0]) && !message.startsWith(own[1]) && ++count > allowed)
                problem(allowed == 0 ? QStringLiteral("an error was logged: %1").arg(message)
                                     : QStringLiteral("one fault was logged more than once: %1").arg(message));
        }
        if (livingChunks != 0 && !m_Refused)
            problem(QStringLiteral("%1 chunks are alive after the end").arg(livingChunks.load()));
    }

private:
    QString m_Name;
    bool m_Refused = false;
};

struct Named
{
    const char* name;
    const char* what;
    int allowedErrors; ///< the plug-in's own
    std::function<void(Check&)> run;
    const char* symbol = nullptr; ///< only for plug-ins that export this; null: for all
};

/// A function of the plug-in under test; null if it is not exported.
template <typename Function>
Function pluginFunction(const char* name)
{
    return reinterpret_cast<Function>(pluginLibrary ? dlsym(pluginLibrary, name) : nullptr);
}

/// The number of frames in a file according to the plug-in; negative if it cannot tell.
long long countFrames(const QString& fileName)
{
    const auto probe = pluginFunction<int (*)(const char*, const bool*, long long*, double*)>("probeVideo");
    const bool stop = false;
    long long count = 0;
    double seconds = 0;
    return probe && probe(QFile::encodeName(fileName).constData(), &stop, &count, &seconds) == 1 ? count : -1;
}

typedef int (*Probe)(const char*, const bool*, long long*, double*);
typedef int (*Retime)(const char*, const bool*, const double*, long long, double);
typedef int (*Join)(const char* const*, const long long*, int, const char*, const bool*);

/// Writes a file without a video next to the clip.
QByteArray writeGarbage(const Check& c)
{
    QFile file(QFileInfo(c.fileName()).path() + QStringLiteral("/garbage.") + QFileInfo(c.fileName()).completeSuffix());
    if (!file.open(QIODevice::WriteOnly) || file.write("no video") < 0)
        std::abort();
    return QFile::encodeName(file.fileName());
}

/// The name of a file in no known format.
QByteArray otherEnding(const Check& c)
{
    return QFile::encodeName(c.fileName() + QStringLiteral(".unknownformat"));
}

/// Chunks of `count` frames each.
std::vector<QIODevice*> chunksOf(int chunks, double count, int width = Width, int height = Height)
{
    std::vector<QIODevice*> result;
    result.reserve(std::size_t(chunks));
    for (int i = 0; i < chunks; ++i)
        result.push_back(frames(count, width, height));
    return result;
}

/// Hands the chunks over, the last one marked as the last if `isComplete`.
void handOverAll(Check& c, Encoder& encoder, const std::vector<QIODevice*>& chunks, bool isComplete = true)
{
    for (std::size_t i = 0; i < chunks.size(); ++i)
        c.handOver(encoder, chunks[i], isComplete && i + 1 == chunks.size());
}

enum class Expect
{
    File,
    Anything, ///< the plug-in may also leave no file
};

/// One recording of these chunks, which it takes over.
void record(Check& c, const std::vector<QIODevice*>& chunks, Expect expect = Expect::File, int width = Width,
            int height = Height, int fps = Fps, int rate = BitsPerSecond, const QString& name = QString())
{
    const auto encoder = c.make(width, height, fps, rate, name);
    if (!encoder) {
        qDeleteAll(chunks);
        return;
    }
    handOverAll(c, *encoder, chunks);
    encoder->waitForFinish();
    if (expect == Expect::File)
        c.expectFile();
}

void probeClip(Check& c)
{
    const bool stop = false;
    const auto probe = pluginFunction<Probe>("probeVideo");
    record(c, chunksOf(1, 3), Expect::Anything);
    long long count = 0;
    double seconds = -1;
    if (probe(QFile::encodeName(c.fileName()).constData(), &stop, &count, &seconds) != 1)
        c.problem(QStringLiteral("probeVideo does not return 1 for a file that the plug-in has just written"));
    else if (count != 3)
        c.problem(QStringLiteral("probeVideo found %1 frames of 3").arg(count));
    else if (!(seconds >= 0))
        c.problem(QStringLiteral("probeVideo left the length at %1 s; 0 means unknown").arg(seconds));
    if (probe(writeGarbage(c).constData(), &stop, &count, &seconds) != 0)
        c.problem(QStringLiteral("probeVideo does not return 0 for a file that holds no video"));
    if (probe(otherEnding(c).constData(), &stop, &count, &seconds) != -1)
        c.problem(QStringLiteral("probeVideo does not return -1 for a file extension that the plug-in does not know"));
}

void retimeClip(Check& c)
{
    const bool stop = false;
    const double starts[] = {0, 0.1, 2};
    const QByteArray name = QFile::encodeName(c.fileName());
    record(c, chunksOf(1, 3), Expect::Anything);
    const auto retime = pluginFunction<Retime>("retimeVideo");
    for (const double* times : {static_cast<const double*>(nullptr), starts}) {
        if (retime(name.constData(), &stop, times, times ? 3 : 0, 3) != 1)
            c.problem(QStringLiteral("retimeVideo does not return 1 for a file that the plug-in has just written"));
        c.expectFile();
    }
    const long long count = countFrames(c.fileName());
    if (count >= 0 && count != 3)
        c.problem(QStringLiteral("retimeVideo made %1 frames of 3").arg(count));
    if (retime(writeGarbage(c).constData(), &stop, nullptr, 0, 3) != 0)
        c.problem(QStringLiteral("retimeVideo does not return 0 for a file that holds no video"));
    if (retime(otherEnding(c).constData(), &stop, nullptr, 0, 3) != -1)
        c.problem(QStringLiteral("retimeVideo does not return -1 for a file extension that the plug-in does not know"));
}

void joinClips(Check& c)
{
    const bool stop = false;
    const QFileInfo info(c.fileName());
    const QString ending = info.completeSuffix();
    const QString first = info.path() + QStringLiteral("/first.") + ending;
    const QString second = info.path() + QStringLiteral("/second.") + ending;
    const auto clip = [&c](const QString& name, int count) {
        record(c, chunksOf(1, count), Expect::Anything, Width, Height, Fps, BitsPerSecond, name);
    };
    clip(first, 3);
    clip(second, 2);
    const QByteArray firstName = QFile::encodeName(first), secondName = QFile::encodeName(second);
    const char* const parts[] = {firstName.constData(), secondName.constData()};
    const long long counts[] = {3, 2};
    const auto join = pluginFunction<Join>("joinVideos");
    const long long wrong[] = {3, 7};
    if (join(parts, wrong, 2, QFile::encodeName(c.fileName()).constData(), &stop) != 0)
        c.problem(QStringLiteral("joinVideos does not return 0 for a part with fewer frames than it must have"));
    if (QFile::exists(c.fileName()))
        c.problem(QStringLiteral("joinVideos wrote a file although a part was incomplete"));
    if (join(parts, counts, 2, otherEnding(c).constData(), &stop) != -1)
        c.problem(QStringLiteral("joinVideos does not return -1 for a file extension that the plug-in does not know"));
    if (join(parts, counts, 2, QFile::encodeName(c.fileName()).constData(), &stop) != 1)
        c.problem(QStringLiteral("joinVideos does not return 1 for files that the plug-in has just written"));
    c.expectFile();
    const long long count = countFrames(c.fileName());
    if (count >= 0 && count != 5)
        c.problem(QStringLiteral("joinVideos made %1 frames of 3 and 2").arg(count));
}

/// A recording of these chunks that is aborted.
void recordAndAbort(Check& c, const std::vector<QIODevice*>& chunks, bool isComplete)
{
    const auto encoder = c.make();
    if (!encoder) {
        qDeleteAll(chunks);
        return;
    }
    handOverAll(c, *encoder, chunks, isComplete);
    encoder->abortEncoding();
    c.expectNoFile();
}

void recordInParallel(Check& c)
{
    const QFileInfo info(c.fileName());
    const auto first = c.make();
    const auto second =
        c.make(Width, Height, Fps, BitsPerSecond, info.path() + QStringLiteral("/other.") + info.completeSuffix());
    if (!first || !second)
        return;
    for (int i = 0; i < 4; ++i) {
        c.handOver(*first, frames(1), i == 3);
        c.handOver(*second, frames(1), i == 3);
    }
    first->waitForFinish();
    second->waitForFinish();
    c.expectFile();
}

void linkToFullDevice(const Check& c)
{
    if (!QFile::link(QStringLiteral("/dev/full"), c.fileName()))
        std::abort();
}

void fillDisk(Check& c)
{
    // Random pixels, so that no format stays below the limit.
    const rlimit limit{20000, 20000};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        std::abort();
    std::vector<QIODevice*> chunks;
    chunks.reserve(10);
    for (int i = 0; i < 10; ++i)
        chunks.push_back(new GuardedChunk(3 * frameBytes(320, 240), true));
    record(c, chunks, Expect::Anything, 320, 240);
}

void abortOnFullDisk(Check& c)
{
    linkToFullDevice(c);
    if (const auto encoder = c.make(320, 240)) {
        handOverAll(c, *encoder, chunksOf(10, 3, 320, 240));
        encoder->abortEncoding();
    }
}

void continueAfterTheLast(Check& c)
{
    if (const auto encoder = c.make()) {
        c.handOver(*encoder, frames(2), true);
        c.handOver(*encoder, frames(2), false);
        c.handOver(*encoder, frames(2), true);
        encoder->waitForFinish();
        c.expectFile();
    }
}

void recordAgain(Check& c)
{
    if (const auto encoder = c.make()) {
        handOverAll(c, *encoder, chunksOf(1, 2));
        encoder->waitForFinish();
        c.expectFile();
        handOverAll(c, *encoder, chunksOf(1, 2));
        encoder->waitForFinish();
        encoder->setOutputParameters(c.fileName(), Width, Height, Fps, BitsPerSecond);
        handOverAll(c, *encoder, chunksOf(1, 2));
        encoder->waitForFinish();
        c.expectFile();
    }
}

void recordWithoutOutput(Check& c)
{
    const QFileInfo info(c.fileName());
    record(c, chunksOf(2, 3), Expect::Anything, Width, Height, Fps, BitsPerSecond,
           info.path() + QStringLiteral("/missing/") + info.fileName());
}

void recordAtAnyRate(Check& c)
{
    const std::pair<int, int> rows[] = {{0, 0}, {-5, -1}, {1000, 2147483647}, {1, 100}, {2147483647, 1}};
    for (const auto& [fps, rate] : rows)
        record(c, chunksOf(1, 2), Expect::Anything, Width, Height, fps, rate);
}

const std::vector<Named> Checks = {
    {"one", "three frames in one chunk", 0, [](Check& c) { record(c, chunksOf(1, 3)); }},
    {"several", "chunks in memory and in files, an empty one in between", 0,
     [](Check& c) {
         record(c, {frames(2), framesInFile(2), frames(0), frames(1)});
     }},
    {"singles", "thirty chunks of one frame", 0, [](Check& c) { record(c, chunksOf(30, 1)); }},
    {"again", "two recordings to the same file", 0,
     [](Check& c) {
         record(c, chunksOf(1, 2));
         record(c, chunksOf(1, 2));
     }},
    {"beside", "two recordings in parallel", 0, recordInParallel},
    {"sizes", "16 x 16 and 642 x 480 pixels", 0,
     [](Check& c) {
         for (const auto& [width, height] : {std::pair(16, 16), std::pair(642, 480)})
             record(c, chunksOf(1, 2, width, height), Expect::File, width, height);
     }},
    // Codecs have minimum sizes. One error message about them is allowed.
    {"tiny", "2 x 2 pixels", 1,
     [](Check& c) {
         record(c, {frames(3, 2, 2), frames(1, 2, 2)}, Expect::Anything, 2, 2);
     }},
    {"null", "a missing chunk alone", 1, [](Check& c) { record(c, {nullptr}, Expect::Anything); }},
    {"nulllast", "a missing chunk at the end", 1,
     [](Check& c) {
         record(c, {frames(2), nullptr});
     }},
    {"empty", "an empty chunk alone", 1, [](Check& c) { record(c, chunksOf(1, 0), Expect::Anything); }},
    {"half", "half a frame", 1, [](Check& c) { record(c, chunksOf(1, 0.5), Expect::Anything); }},
    {"onehalf", "a frame and a half", 1, [](Check& c) { record(c, chunksOf(1, 1.5)); }},
    {"nothing", "no chunk at all", 0, [](Check& c) { record(c, {}, Expect::Anything); }},
    {"abort0", "an abort before the first chunk", 0, [](Check& c) { recordAndAbort(c, {}, false); }},
    {"abort1", "an abort between chunks", 0, [](Check& c) { recordAndAbort(c, chunksOf(1, 2), false); }},
    {"abort2", "an abort after the last chunk", 0, [](Check& c) { recordAndAbort(c, chunksOf(8, 4), true); }},
    {"nooutput", "an output that cannot be opened", 1, recordWithoutOutput},
    {"full", "a full disk", 1,
     [](Check& c) {
         linkToFullDevice(c);
         record(c, chunksOf(10, 3, 320, 240), Expect::Anything, 320, 240);
     }},
    {"filling", "a disk that fills up during the recording", 1, fillDisk},
    {"abort3", "an abort while the disk is full", 1, abortOnFullDisk},
    {"later", "a chunk after the last one", 1, continueAfterTheLast},
    {"restart", "one encoder used for two recordings, the second without an output", 1, recordAgain},
    {"rates", "rates of 0, negative and extremely large", 1000, recordAtAnyRate},
    {"nosize", "zero and negative sizes", 1000,
     [](Check& c) {
         for (const int size : {0, -2})
             record(c, {new GuardedChunk(64)}, Expect::Anything, size, size);
     }},
    // One message for each file that is refused.
    {"probe", "reading a finished file, and one that holds no video", 1, probeClip, "probeVideo"},
    {"retime", "retiming a finished file", 1, retimeClip, "retimeVideo"},
    {"join", "two recordings joined", 1, joinClips, "joinVideos"},
};

void print(const QString& line)
{
    std::puts(QString(line).replace(QLatin1Char('\n'), QLatin1Char(' ')).toUtf8().constData());
    std::fflush(stdout);
}

/// Why the system refuses to load the plug-in, with advice if it was built for another version.
QString explainLoadError(const QString& reason)
{
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("undefined symbol: tovGrabEncoderAbi(\\d+)")).match(reason);
    return match.hasMatch()
               ? QStringLiteral("it was built for version %1 of the encoder interface, which this program does "
                                "not have: build it again with the headers of tov " TOV_VERSION " (%2)")
                     .arg(match.captured(1), reason)
               : QStringLiteral("it cannot be loaded: %1").arg(reason);
}

/// Loads the plug-in and lets it register. False, with an error message, when it cannot be used.
bool load(const QString& file)
{
    pluginLibrary = dlopen(QFile::encodeName(QFileInfo(file).absoluteFilePath()).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!pluginLibrary) {
        const QString reason = QString::fromLocal8Bit(dlerror());
        print(tov::util::unloadableLine(file, reason));
        print(QStringLiteral("problem ") + explainLoadError(reason));
        return false;
    }
    // Reported first, because loading a dependency may fail.
    if (const auto getDependencies = pluginFunction<QStringList (*)()>("getDependencies"))
        for (const QString& file : getDependencies())
            print(QStringLiteral("needs %1").arg(file));
    const auto doRegister = pluginFunction<bool (*)()>("doRegister");
    if (!doRegister) {
        print(QStringLiteral(
            "problem it exports no function \"doRegister\"; write: extern \"C\" TOV_EXPORT bool doRegister()"));
        return false;
    }
    bool registered = false;
    try {
        registered = doRegister();
    } catch (...) {
        print(QStringLiteral("problem an exception left doRegister"));
        return false;
    }
    if (!registered)
        print(QStringLiteral("problem doRegister returned false"));
    else if (VideoEncoder::getInstance()->getLoadableFiles().empty())
        print(QStringLiteral("problem doRegister registered no format"));
    else
        return true;
    return false;
}

/// Whether the optional listVideoFormats agrees with what doRegister has registered; empty when it does.
QString findListProblem()
{
    const auto listFormats = pluginFunction<const char* const* (*)()>("listVideoFormats");
    if (!listFormats)
        return {};
    std::map<QString, QString> listed;
    try {
        for (const char* const* entry = listFormats(); entry && entry[0] && entry[1]; entry += 2)
            listed.emplace(QString::fromUtf8(entry[0]).toUpper(), QString::fromUtf8(entry[1]));
    } catch (...) {
        return QStringLiteral("an exception left listVideoFormats");
    }
    return listed == VideoEncoder::getInstance()->getLoadableFiles()
               ? QString()
               : QStringLiteral("listVideoFormats does not return the formats that doRegister registered");
}

/// Whether the extensions that an optional function lists were registered; empty when they were, or without the
/// function.
QString findExtensionProblem(const QString& function)
{
    const auto listExtensions = pluginFunction<const char* const* (*)()>(function.toLatin1().constData());
    const auto registered = VideoEncoder::getInstance()->getLoadableFiles();
    try {
        for (const char* const* entry = listExtensions ? listExtensions() : nullptr; entry && *entry; ++entry)
            if (!registered.count(QString::fromUtf8(*entry).toUpper()))
                return QStringLiteral("%1 returns \"%2\", which doRegister has not registered")
                    .arg(function, QString::fromUtf8(*entry));
    } catch (...) {
        return QStringLiteral("an exception left %1").arg(function);
    }
    return {};
}

int list(const QString& file)
{
    Errors errors;
    if (!load(file))
        return 1;
    for (const auto& [ending, description] : VideoEncoder::getInstance()->getLoadableFiles())
        print(QStringLiteral("format %1 %2").arg(ending.toLower(), description));
    for (const QString& problem : {findListProblem(), findExtensionProblem(QStringLiteral("listAlphaFormats")),
                                   findExtensionProblem(QStringLiteral("listBitrateFormats")),
                                   findExtensionProblem(QStringLiteral("listStreamFormats"))})
        if (!problem.isEmpty())
            print(QStringLiteral("problem ") + problem);
    for (const QString& message : errors.take())
        print(QStringLiteral("problem %1").arg(message));
    if (const auto getInfos = pluginFunction<tov::main::AdditionalInformation (*)()>("getInfos")) {
        try {
            const auto infos = getInfos();
            print(QStringLiteral("about %1 %2: %3").arg(infos.name, infos.version, infos.description));
        } catch (...) {
            print(QStringLiteral("problem an exception left getInfos"));
        }
    }
    for (const Named& check : Checks)
        if (!check.symbol || dlsym(pluginLibrary, check.symbol))
            print(QStringLiteral("check %1 %2").arg(QLatin1String(check.name), QLatin1String(check.what)));
    return 0;
}

int runOne(const QString& name, const QString& file, const QString& ending, const QString& folder)
{
    for (const Named& check : Checks)
        if (name == QLatin1String(check.name)) {
            Errors errors;
            if (!load(file))
                return 1;
            Check running(ending, folder);
            check.run(running);
            running.close(errors, check.allowedErrors);
            running.problems.removeDuplicates();
            for (const QString& problem : running.problems)
                print(QStringLiteral("problem ") + problem);
            return running.problems.isEmpty() ? 0 : 1;
        }
    return 2;
}

} // namespace

int tovCheckEncoderPart(const QStringList& arguments)
{
    if (arguments.value(0) == QLatin1String("--probe-encoder")) {
        list(arguments.value(1));
        _exit(tov::util::ProbedStatus);
    }
    const int status = arguments.value(0) == QLatin1String("--list")
                           ? list(arguments.value(1))
                           : runOne(arguments.value(1), arguments.value(2), arguments.value(3), arguments.value(4));
    std::fflush(stdout);
    // Exits without unloading the plug-in, because its libraries may not support being unloaded.
    _exit(status);
}
