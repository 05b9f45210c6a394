#include "plugins/video/coders/framescoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QFile>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

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

} // namespace

struct FramesCoder::Codec
{
    std::unique_ptr<AVCodecContext, Freer> codec;
    std::unique_ptr<AVFrame, Freer> frame;
    std::unique_ptr<AVPacket, Freer> packet;
    qint64 frames = 0;
};

FramesCoder::FramesCoder() : FrameCoder(SourceFile) {}
FramesCoder::~FramesCoder() = default;

bool FramesCoder::isAvailable()
{
    return avcodec_find_encoder(AV_CODEC_ID_PNG) != nullptr;
}

bool FramesCoder::open()
{
    d = std::make_unique<Codec>();
    const auto* file = qobject_cast<QFile*>(job().output);
    if (!file)
        return fail(__LINE__, __func__, QStringLiteral("There is no output file to write the video to"));
    m_Names = std::make_unique<PictureNames>(file->fileName());

    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_PNG);
    d->codec.reset(encoder ? avcodec_alloc_context3(encoder) : nullptr);
    d->frame.reset(av_frame_alloc());
    d->packet.reset(av_packet_alloc());
    if (!d->codec || !d->frame || !d->packet)
        return failForMemory(__LINE__, __func__);
    d->codec->width = job().width;
    d->codec->height = job().height;
    d->codec->pix_fmt = AV_PIX_FMT_RGBA;
    d->codec->time_base = AVRational{1, job().fps > 0 ? job().fps : DefaultFps};
    d->codec->compression_level = 3; // higher levels gain little on rendered pictures and take several times longer
    d->codec->thread_count = std::clamp(QThread::idealThreadCount(), 1, MaximumThreads);
    const int result = avcodec_open2(d->codec.get(), encoder, nullptr);
    if (result < 0)
        return fail(__LINE__, __func__, QStringLiteral("The PNG encoder cannot be opened"), result);
    return writeList(listHead());
}

bool FramesCoder::codeFrame(const uchar* bgra)
{
    bgra = m_Alpha.convert(bgra, job().width, job().height, false);
    AVFrame* frame = d->frame.get();
    av_frame_unref(frame);
    frame->width = job().width;
    frame->height = job().height;
    frame->format = AV_PIX_FMT_RGBA;
    frame->pts = d->frames++;
    const int result = av_frame_get_buffer(frame, 0);
    if (result < 0)
        return fail(__LINE__, __func__, QStringLiteral("There is no memory for a frame"), result);
    for (int y = 0; y < job().height; ++y) {
        const uchar* from = bgra + qint64(y) * job().width * 4;
        uchar* to = frame->data[0] + qint64(y) * frame->linesize[0];
        for (int x = 0; x < job().width; ++x, from += 4, to += 4) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
            to[3] = from[3];
        }
    }
    return send(false);
}

bool FramesCoder::send(bool flush)
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
    return fail(__LINE__, __func__, QStringLiteral("A frame cannot be encoded"), result);
}

/// Whether the list is still where it was opened: its folder may have been moved or replaced.
bool FramesCoder::isListInPlace() const
{
    const auto* list = qobject_cast<QFile*>(job().output);
    struct stat opened, named;
    return list && fstat(list->handle(), &opened) == 0 &&
           stat(QFile::encodeName(list->fileName()).constData(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

bool FramesCoder::writePicture(const char* data, int size)
{
    if (!isListInPlace())
        return fail(
            __LINE__, __func__,
            QStringLiteral("The list of pictures is no longer in '%1', so no pictures can be written next to it")
                .arg(m_Names->folder()));
    const qint64 number = m_Files.size() + 1;
    const QString name = m_Names->path(number);
    // An incomplete picture under its final name would look complete.
    QFile picture(name + QLatin1Char('~'));
    if (!picture.open(QIODevice::WriteOnly | QIODevice::Truncate) || picture.write(data, size) != size ||
        !picture.flush() ||
        std::rename(QFile::encodeName(picture.fileName()).constData(), QFile::encodeName(name).constData()) != 0) {
        const QString error =
            picture.error() == QFile::NoError ? QString::fromLocal8Bit(std::strerror(errno)) : picture.errorString();
        picture.remove();
        return fail(__LINE__, __func__, QStringLiteral("The picture '%1' cannot be written: %2").arg(name, error));
    }
    m_Files << name;
    return writeList(listEntry(m_Names->name(number), 1.0 / d->codec->time_base.den));
}

bool FramesCoder::writeList(const QByteArray& text)
{
    auto* file = qobject_cast<QFile*>(job().output);
    if (file && file->write(text) == text.size() && file->flush())
        return true;
    return fail(__LINE__, __func__, QStringLiteral("The list of pictures cannot be written"));
}

void FramesCoder::complete()
{
    if (send(true))
        m_Names->removeBehind(m_Files.size());
}

void FramesCoder::close()
{
    d.reset();
}

void FramesCoder::discard()
{
    for (const QString& file : m_Files)
        QFile::remove(file);
    m_Files.clear();
}

} // namespace tov::plugins::video
