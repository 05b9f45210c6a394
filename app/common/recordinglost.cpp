#include "app/common/recordinglost.h"

#include <utility>

namespace tov::app {

RecordingLost::RecordingLost(std::function<void(const QString& why)> onLost) : m_OnLost(std::move(onLost))
{
    tov::log::Logger::addSink(this);
}

RecordingLost::~RecordingLost()
{
    tov::log::Logger::removeSink(this);
}

void RecordingLost::write(const tov::log::LogRecord& record)
{
    const bool noChunk =
        record.file == QLatin1String("videohandler") && record.function == QLatin1String("createChunkFile");
    const bool notTaken =
        record.file == QLatin1String("video/encoder") &&
        (record.function == QLatin1String("encodeVideoChunk") || record.function == QLatin1String("run"));
    // The program's own encoders take every chunk, and say once that they drop what comes.
    const bool dropped =
        record.level <= tov::log::LevelError && (record.file.startsWith(QLatin1String("plugins/video/")) ||
                                                 record.function == QLatin1String("setOutputParameters"));
    if (noChunk || notTaken || dropped)
        m_OnLost(record.message);
}

} // namespace tov::app
