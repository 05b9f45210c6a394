// What the program reads from log records must match what the module and the encoders log.

#include "app/common/runrecords.h"
#include "kernel/log/console.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <limits>

using tov::app::FailureLog;
using tov::app::isRecordingLostRecord;
using tov::log::LevelError;
using tov::log::LevelInformation;
using tov::log::LogRecord;

namespace {

QString sourceText(const QString& file)
{
    QFile source(QStringLiteral(TOV_SOURCE_DIR "/") + file);
    EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << file.toStdString();
    return QString::fromUtf8(source.readAll());
}

/// The source text of the methods with that name.
QString methodText(const QString& source, const QString& name)
{
    const QRegularExpression form(
        QStringLiteral("^[^\\n/]*::%1\\([^\\n]*\\n(?:\\{.*?^\\}|[^\\n]*\\n\\{.*?^\\})").arg(name),
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    QString text;
    for (auto matches = form.globalMatch(source); matches.hasNext();)
        text += matches.next().captured(0);
    return text;
}

LogRecord record(const char* file, const char* function, int level = LevelError)
{
    LogRecord record;
    record.level = level;
    record.file = QLatin1String(file);
    record.function = QLatin1String(function);
    record.message = QStringLiteral("message");
    return record;
}

} // namespace

TEST(RunRecords, LostRecordingsAreLoggedAsTheProgramExpects)
{
    const struct
    {
        const char* source;
        const char* file;
        const char* function;
    } producers[] = {{"grab/videohandler.cpp", "videohandler", "createChunkFile"},
                     {"grab/video/encoder.cpp", "video/encoder", "encodeVideoChunk"},
                     {"grab/video/encoder.cpp", "video/encoder", "run"}};
    for (const auto& producer : producers) {
        SCOPED_TRACE(producer.function);
        const QString source = sourceText(QLatin1String(producer.source));
        EXPECT_TRUE(source.contains(QStringLiteral("SourceFile = \"%1\"").arg(QLatin1String(producer.file))));
        const QString method = methodText(source, QLatin1String(producer.function));
        EXPECT_TRUE(method.contains(QRegularExpression(QStringLiteral("log\\(ErrorLevel|logError\\("))))
            << method.toStdString();
        EXPECT_TRUE(isRecordingLostRecord(record(producer.file, producer.function)));
    }
}

TEST(RunRecords, EncodersLogUnderTheExpectedFolder)
{
    const QRegularExpression form(QStringLiteral("SourceFile = \"plugins/video/"));
    for (const char* file : {"plugins/video/coders/ffmpegcoder.cpp", "plugins/video/coders/framescoder.cpp",
                             "plugins/video/common/coderlibrary.cpp"})
        EXPECT_TRUE(sourceText(QLatin1String(file)).contains(form)) << file;
    EXPECT_TRUE(isRecordingLostRecord(record("plugins/video/ffmpeg", "open")));
    EXPECT_FALSE(isRecordingLostRecord(record("plugins/video/ffmpeg", "open", LevelInformation)));
}

TEST(RunRecords, OtherErrorsDoNotEndARecording)
{
    EXPECT_FALSE(isRecordingLostRecord(record("commands/grabimage", "saveImage")));
    EXPECT_FALSE(isRecordingLostRecord(record("videohandler", "initStart")));
}

TEST(RunRecords, AFailureLogKeepsErrorsAndConsoleLines)
{
    FailureLog failures(FailureLog::Console::Collect);
    tov::log::Logger::log(LevelInformation, "test", 1, "test", nullptr, "no failure");
    tov::log::Logger::log(LevelError, "test", 1, "test", nullptr, "first");
    qConsole("second");
    EXPECT_EQ(failures.messages(), (QStringList{"first", "second"}));
    EXPECT_EQ(failures.firstSince(0), "first");
    EXPECT_EQ(failures.last(), "second");
    EXPECT_TRUE(failures.firstSince(std::numeric_limits<qint64>::max()).isEmpty());
    failures.clear();
    EXPECT_TRUE(failures.messages().isEmpty());
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
