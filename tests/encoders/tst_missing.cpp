// With an FFmpeg that lacks a codec, the format is not offered and `tov encoders` gives the reason. The available
// formats are cached until FFmpeg changes.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString encodersWithout(const QString& codec)
{
    QTemporaryDir folder;
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOV_SETTINGS"), folder.filePath(QStringLiteral("settings.ini")));
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(NOCODEC_LIBRARY));
    environment.insert(QStringLiteral("TOV_NO_CODEC"), codec);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"), {"encoders"});
    EXPECT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return QLatin1Char('\n') + QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

TEST(Missing, AFormatWhoseCodecIsMissingIsLeftOutAndNamed)
{
    const QString all = encodersWithout(QString());
    EXPECT_TRUE(all.contains(QStringLiteral("\nhevc.mp4 "))) << all.toStdString();
    EXPECT_FALSE(all.contains(QStringLiteral("missing here"))) << all.toStdString();
    const QString fewer = encodersWithout(QStringLiteral("libx265"));
    EXPECT_FALSE(fewer.contains(QStringLiteral("\nhevc.mp4 "))) << fewer.toStdString();
    EXPECT_TRUE(fewer.contains(QStringLiteral("\nmp4 "))) << fewer.toStdString();
    EXPECT_TRUE(fewer.contains(QStringLiteral("missing here: hevc.mp4 (libx265)"))) << fewer.toStdString();
}

namespace {

/// A program with its own cache, which its first start has filled.
class RememberedFormats : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!qEnvironmentVariableIsEmpty("LD_PRELOAD"))
            GTEST_SKIP() << "with a preloaded library nothing is cached";
        // The process that tries new plug-ins writes the cache already.
        all = encoders(&loaded);
        ASSERT_FALSE(note.isEmpty());
    }

    QTemporaryDir folder;
    QString note; ///< its file
    QString all;  ///< the first output
    bool loaded = false;

    /// The output of `tov encoders`; `loaded` receives whether it had to load FFmpeg.
    QString encoders(bool* loaded)
    {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TOV_SETTINGS"), folder.filePath(QStringLiteral("settings.ini")));
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), folder.path());
        environment.insert(QStringLiteral("LD_DEBUG"), QStringLiteral("files"));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"), {"encoders"});
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0);
        *loaded = process.readAllStandardError().contains("libavcodec.so");
        if (note.isEmpty()) {
            QDirIterator found(folder.path(), {QStringLiteral("video-formats-*")}, QDir::Files,
                               QDirIterator::Subdirectories);
            note = found.next();
        }
        return QLatin1Char('\n') + QString::fromUtf8(process.readAllStandardOutput());
    }
    QByteArray read() const
    {
        QFile file(note);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << note.toStdString();
        return file.readAll();
    }
    void write(const QByteArray& text) const
    {
        QFile file(note);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << note.toStdString();
        file.write(text);
    }
};

} // namespace

TEST_F(RememberedFormats, StayWhileNothingChanges)
{
    EXPECT_EQ(QFile::permissions(note) & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
              QFile::Permissions());
    const QByteArray content = read();
    EXPECT_EQ(encoders(&loaded), all);
    EXPECT_FALSE(loaded);

    // The cached formats are used.
    const QByteArray key = "formats\n";
    const int list = content.indexOf(key) + key.size();
    write(content.left(list) + "mp4 webm\n\\end\n");
    const QString two = encoders(&loaded);
    EXPECT_FALSE(loaded);
    EXPECT_TRUE(two.contains(QStringLiteral("\nmp4 ")) && two.contains(QStringLiteral("\nwebm "))) << two.toStdString();
    EXPECT_FALSE(two.contains(QStringLiteral("\nmkv ")) || two.contains(QStringLiteral("\nframes ")))
        << two.toStdString();
    EXPECT_TRUE(two.contains(QStringLiteral("missing here: mov (libx264)"))) << two.toStdString();
}

TEST_F(RememberedFormats, AChangedLibraryOrADamagedCacheIsDetected)
{
    const QByteArray content = read();
    QList<QByteArray> lines = content.split('\n');
    // Title; our library, two of FFmpeg's and the loader's list, each with its stamp; formats; end.
    ASSERT_EQ(lines.size(), 13) << content.constData();
    const int list = content.indexOf("formats\n") + 8;
    const QByteArray few = "mp4\n\\end\n";

    QList<QByteArray> damaged{"",
                              "\n",
                              "\n\n\n\n\n",
                              QByteArray(100000, 'x'),
                              QByteArray(100000, '\n'),
                              content.left(list - 3),
                              content.left(list) + "mp4\n",
                              QByteArray("\0\xff\n", 3) + content.left(list) + few,
                              "tov cache 1 2\n" +
                                  content.mid(content.indexOf('\n') + 1, list - content.indexOf('\n') - 1) + few};
    // Each of the four files with another stamp, with another name, or missing.
    for (int line = 1; line < 9; line += 2) {
        for (const QByteArray& changed :
             {QByteArray(lines[line + 1] + '1'), QByteArray("1 ") + lines[line + 1], QByteArray()}) {
            QList<QByteArray> other = content.left(list).split('\n');
            other[line + 1] = changed;
            damaged << other.join('\n') + few;
        }
        QList<QByteArray> other = content.left(list).split('\n');
        other[line] = "/not/there";
        damaged << other.join('\n') + few;
        other = content.left(list).split('\n');
        other.removeAt(line);
        other.removeAt(line);
        damaged << other.join('\n') + few;
    }
    for (const QByteArray& text : std::as_const(damaged)) {
        write(text);
        EXPECT_EQ(encoders(&loaded), all) << text.left(400).constData();
        EXPECT_TRUE(loaded) << text.left(400).constData();
        EXPECT_EQ(read(), content);
    }

    // With a folder in its place nothing is cached, and the result is still correct.
    ASSERT_TRUE(QFile::remove(note) && QDir().mkdir(note));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(encoders(&loaded), all);
        EXPECT_TRUE(loaded);
    }
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
