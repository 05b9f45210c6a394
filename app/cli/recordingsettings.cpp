#include "app/cli/recordingsettings.h"

#include "app/common/checks.h"
#include "kernel/main/settings.h"
#include "trajectory/recordingpace.h"

#include <QCoreApplication>
#include <QSettings>

#include <algorithm>

namespace tov::app {

namespace {

constexpr qint64 BytesPerMb = 1000000;
constexpr int BytesPerPixel = 4;
constexpr int DefaultFps = 25, DefaultKbps = 1200;
constexpr double BitsPerPixel = 0.1;
/// Frames per second of a free recording, at most.
constexpr int FreeFps = 25;

const QString ChunkKey = QStringLiteral("settings/grabvideotempfilesize");
const QString RateKey = QStringLiteral("settings/grabvideofps");
const QString BitrateKey = QStringLiteral("settings/grabvideokbps");
const QString MemoryKey = QStringLiteral("settings/grabvideousememoryasbuffer");
const QString BacklogKey = QStringLiteral("settings/backloglimit");

struct NumberSetting
{
    QString key;
    int least, most;
};

bool checkNumber(const NumberSetting& setting, QString* error)
{
    const QVariant value = tovSettings().value(setting.key);
    bool isNumber = false;
    const int number = value.toString().toInt(&isNumber);
    if (!value.isValid() || (isNumber && number >= setting.least && number <= setting.most))
        return true;
    *error = QCoreApplication::translate("tov::app", "the setting '%1' must be a number from %2 to %3 (got \"%4\")")
                 .arg(setting.key, QString::number(setting.least), QString::number(setting.most), value.toString());
    return false;
}

/// Megabytes of a chunk: about three frames, so that the encoder can start early.
qint64 chunkMegabytes(const QSize& size)
{
    constexpr qint64 Least = 8, Most = 50, Frames = 3;
    return std::clamp(Frames * size.width() * size.height() * BytesPerPixel / BytesPerMb, Least, Most);
}

/// The rate at which the encoder works. The times of a free recording are set afterwards, and a gif of a higher rate
/// would leave frames out.
int encodingRateOf(const VideoRequest& request)
{
    const int fps = RecordingSettings::rateOf(request);
    return request.motion.kind == MotionRequest::Kind::Free ? std::min(fps, RecordingSettings::HighestGifFps) : fps;
}

/// A free recording is not paced: its frames must fit into memory even if the encoder does not take any.
bool fitsIntoMemory(const VideoRequest& request, const QSize& size)
{
    if (request.motion.kind != MotionRequest::Kind::Free || !request.motion.seconds)
        return true;
    const double bytes = *request.motion.seconds * FreeFps * size.width() * size.height() * BytesPerPixel;
    const qint64 available = availableMemory(request.output.maxMemory);
    return available == 0 || bytes < double(available) / 2;
}

} // namespace

RecordingSettings::RecordingSettings()
{
    for (const QString& key : {ChunkKey, RateKey, BitrateKey, MemoryKey, BacklogKey})
        m_Before[key] = tovSettings().value(key);
}

RecordingSettings::~RecordingSettings()
{
    for (const auto& [key, value] : m_Before)
        if (value.isValid())
            tovSettings().setValue(key, value);
        else
            tovSettings().remove(key);
}

bool RecordingSettings::check(const VideoRequest& request, QString* error)
{
    constexpr int MostFps = 1000, MostKbps = 2000000, MostMb = 1000000;
    /// A chunk's size has 32 bits.
    constexpr int MostChunkMb = 4294;
    return (request.fps > 0 || checkNumber({RateKey, 1, MostFps}, error)) &&
           (request.bitrate > 0 || checkNumber({BitrateKey, 1, MostKbps}, error)) &&
           checkNumber({ChunkKey, 0, MostChunkMb}, error) && checkNumber({BacklogKey, 1, MostMb}, error);
}

int RecordingSettings::rateOf(const VideoRequest& request)
{
    return request.fps > 0 ? request.fps : tovSettings().value(RateKey, DefaultFps).toInt();
}

int RecordingSettings::bitrateOf(const VideoRequest& request)
{
    if (request.bitrate > 0)
        return request.bitrate;
    const QSize size = sizeOf(request);
    return std::max(tovSettings().value(BitrateKey, DefaultKbps).toInt(),
                    int(BitsPerPixel * size.width() * size.height() * rateOf(request) / 1000));
}

QSize RecordingSettings::sizeOf(const VideoRequest& request)
{
    return QSize((request.size.width() + 1) & ~1, (request.size.height() + 1) & ~1);
}

void RecordingSettings::limitMemory(const VideoRequest& request)
{
    const qint64 limit =
        tovSettings().value(BacklogKey, qlonglong(tov::trajectory::RecordingPace::DefaultLimitMb)).toLongLong();
    // Half of the available memory: the encoder needs some as well.
    const qint64 half = availableMemory(request.output.maxMemory) / BytesPerMb / 2;
    if (half > 0 && half < limit)
        tovSettings().setValue(BacklogKey, half);
}

QStringList RecordingSettings::arguments(const VideoRequest& request) const
{
    const QSize size = sizeOf(request);
    const auto setting = [this](const QString& key, const QString& initial) {
        const QVariant& value = m_Before.at(key);
        return value.isValid() ? value.toString() : initial;
    };
    const QString memory =
        fitsIntoMemory(request, size) ? setting(MemoryKey, QStringLiteral("1")) : QStringLiteral("0");
    return {setting(ChunkKey, QString::number(chunkMegabytes(size))), QString::number(encodingRateOf(request)),
            QString::number(bitrateOf(request)), memory};
}

} // namespace tov::app
