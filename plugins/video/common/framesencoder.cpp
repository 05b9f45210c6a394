#include "plugins/video/common/framesencoder.h"

#include "kernel/log/logger.h"
#include "plugins/video/common/framereader.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <atomic>

#include <sys/stat.h>

namespace tov::plugins::video {

namespace {

const char* const SourceFile = "plugins/video/frames";
constexpr int DefaultFps = 25;
constexpr int MaximumThreads = 8;

struct Freer
{
    void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
    void operator()(AVFrame* p) const { av_frame_free(&p); }
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};

/// Players refuse lists that name files by anything but letters, digits, '.', '-' and '_', or with a leading dot.
QString portable(const QString& name)
{
    QString result = name;
    for (QChar& c : result)
        if (c.unicode() > 126 || !(c.isLetterOrNumber() || c == '-' || c == '_'))
            c = '_';
    if (result != name || result.isEmpty()) // keeps two lists in one folder apart
        result += '-' + QString::fromLatin1(
                            QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha1).toHex().left(8));
    return result;
}

} // namespace

struct FramesEncoder::Coder
{
    std::unique_ptr<AVCodecContext, Freer> codec;
    std::unique_ptr<AVFrame, Freer> frame;
    std::unique_ptr<AVPacket, Freer> packet;
    qint64 frames = 0;
};

FramesEncoder::FramesEncoder() = default;
FramesEncoder::~FramesEncoder() = default;

bool FramesEncoder::isAvailable()
{
    return avcodec_find_encoder(AV_CODEC_ID_PNG) != nullptr;
}

bool FramesEncoder::fail(int line, const char* function, const QString& what, int averror)
{
    if (!m_Failed) {
        char text[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(averror, text, sizeof text);
        tov::log::Logger::log(tov::log::LevelError, SourceFile, line, function, nullptr,
                              averror ? what + ": " + QString::fromLocal8Bit(text) : what);
    }
    m_Failed = true;
    return false;
}

bool FramesEncoder::initEncoding(QIODevice*, bool)
{
    return true; // a refusal would strand every chunk
}

bool FramesEncoder::open()
{
    d = std::make_unique<Coder>();
    const auto* file = qobject_cast<QFile*>(mp_OutputFile);
    if (!file)
        return fail(__LINE__, __func__, QStringLiteral("There is no output file to write the video to"));
    if (bytesOfFrame(m_Width, m_Height) == 0)
        return fail(__LINE__, __func__,
                    QStringLiteral("A video of %1 x %2 pixels cannot be encoded").arg(m_Width).arg(m_Height));
    const QFileInfo info(file->fileName());
    m_Folder = info.absolutePath();
    m_Prefix = portable(info.completeBaseName());

    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_PNG);
    d->codec.reset(encoder ? avcodec_alloc_context3(encoder) : nullptr);
    d->frame.reset(av_frame_alloc());
    d->packet.reset(av_packet_alloc());
    if (!d->codec || !d->frame || !d->packet)
        return fail(__LINE__, __func__, QStringLiteral("There is not enough memory to encode the video"));
    d->codec->width = m_Width;
    d->codec->height = m_Height;
    d->codec->pix_fmt = AV_PIX_FMT_RGBA;
    d->codec->time_base = AVRational{1, m_Fps > 0 ? m_Fps : DefaultFps};
    d->codec->compression_level = 3; // higher levels gain little on rendered pictures and take several times longer
    d->codec->thread_count = std::clamp(QThread::idealThreadCount(), 1, MaximumThreads);
    const int result = avcodec_open2(d->codec.get(), encoder, nullptr);
    if (result < 0)
        return fail(__LINE__, __func__, QStringLiteral("The PNG encoder could not be opened"), result);
    return writeList("ffconcat version 1.0\n");
}

bool FramesEncoder::encodeFrame(const uchar* bgra)
{
    bgra = m_Alpha.convert(bgra, m_Width, m_Height, false);
    AVFrame* frame = d->frame.get();
    av_frame_unref(frame);
    frame->width = m_Width;
    frame->height = m_Height;
    frame->format = AV_PIX_FMT_RGBA;
    frame->pts = d->frames++;
    const int result = av_frame_get_buffer(frame, 0);
    if (result < 0)
        return fail(__LINE__, __func__, QStringLiteral("There is no memory for a frame"), result);
    for (int y = 0; y < m_Height; ++y) {
        const uchar* from = bgra + qint64(y) * m_Width * 4;
        uchar* to = frame->data[0] + qint64(y) * frame->linesize[0];
        for (int x = 0; x < m_Width; ++x, from += 4, to += 4) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
            to[3] = from[3];
        }
    }
    return send(false);
}

bool FramesEncoder::send(bool flush)
{
    int result = avcodec_send_frame(d->codec.get(), flush ? nullptr : d->frame.get());
    while (result >= 0) {
        result = avcodec_receive_packet(d->codec.get(), d->packet.get());
        if (result < 0)
            break;
        const bool written = writePicture(reinterpret_cast<const char*>(d->packet->data), d->packet->size);
        av_packet_unref(d->packet.get());
        if (!written)
            return false;
    }
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
        return true;
    return fail(__LINE__, __func__, QStringLiteral("A frame could not be encoded"), result);
}

/// Whether the list still lies where it was opened: its folder may have been moved, and another put in its place.
bool FramesEncoder::isListInPlace() const
{
    const auto* list = qobject_cast<QFile*>(mp_OutputFile);
    struct stat opened, named;
    return list && fstat(list->handle(), &opened) == 0 &&
           stat(QFile::encodeName(list->fileName()).constData(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

bool FramesEncoder::writePicture(const char* data, int size)
{
    if (!isListInPlace())
        return fail(__LINE__, __func__,
                    QStringLiteral("The list of pictures is no longer in '%1', so they cannot be written beside it")
                        .arg(m_Folder));
    const QString name = QStringLiteral("%1.%2.png").arg(m_Prefix).arg(m_Files.size() + 1, 5, 10, QLatin1Char('0'));
    QFile picture(m_Folder + '/' + name);
    if (!picture.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(
            __LINE__, __func__,
            QStringLiteral("Picture '%1' could not be written: %2").arg(picture.fileName(), picture.errorString()));
    if (picture.write(data, size) != size || !picture.flush()) {
        const QString error = picture.errorString();
        picture.remove(); // half a picture would look whole
        return fail(__LINE__, __func__,
                    QStringLiteral("Picture '%1' could not be written: %2").arg(picture.fileName(), error));
    }
    m_Files << picture.fileName();
    picture.close();
    const double seconds = 1.0 / d->codec->time_base.den;
    return writeList("file " + name.toLatin1() + "\nduration " + QByteArray::number(seconds, 'f', 6) + '\n');
}

bool FramesEncoder::writeList(const QByteArray& text)
{
    auto* file = qobject_cast<QFile*>(mp_OutputFile);
    if (file && file->write(text) == text.size() && file->flush())
        return true;
    return fail(__LINE__, __func__, QStringLiteral("The list of pictures could not be written"));
}

bool FramesEncoder::encodeChunk(QIODevice* chunk, bool isLast)
{
    if (m_Failed || (!d && !open()))
        return true;
    FrameReader reader(chunk, bytesOfFrame(m_Width, m_Height));
    while (const uchar* bgra = reader.next()) {
        if (std::atomic_ref<bool>(m_Aborted).load())
            return true;
        if (!d->codec)
            fail(__LINE__, __func__, QStringLiteral("What comes after the last frame is dropped"));
        if (m_Failed || !encodeFrame(bgra))
            return true; // logged, and what comes is dropped
    }
    if (reader.failed())
        fail(__LINE__, __func__, QStringLiteral("A chunk of the recording cannot be read back"));
    if (reader.remainder() > 0 && !m_RemainderLogged) {
        m_RemainderLogged = true;
        tov::log::Logger::log(
            tov::log::LevelInformation, SourceFile, __LINE__, __func__, nullptr,
            QStringLiteral("The last %1 bytes of a chunk are no whole frame and are dropped").arg(reader.remainder()));
    }
    if (isLast && !m_Failed && d->codec) {
        send(true); // here rather than in `finishEncoding`, which no progress covers
        d->codec.reset();
    }
    return true;
}

void FramesEncoder::finishEncoding()
{
    if (std::atomic_ref<bool>(m_Aborted).load()) {
        // The list is gone already.
        for (const QString& file : m_Files)
            QFile::remove(file);
    } else if (d && d->codec && !m_Failed) {
        send(true); // no chunk was marked last
    }
    m_Files.clear();
    d.reset();
    m_Alpha = StraightAlpha();
    m_Failed = false;
    m_RemainderLogged = false;
}

} // namespace tov::plugins::video
