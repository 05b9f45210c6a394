// An FFmpeg without one of the codecs: that format is left out, and `tov encoders` says which and why. What there is,
// is remembered for as long as FFmpeg stays as it is.

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

/// A program with a cache of its own, started once: it has left a note.
class RememberedFormats : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!qEnvironmentVariableIsEmpty("LD_PRELOAD"))
            GTEST_SKIP() << "with a library preloaded nothing is remembered";
        // The process in which new plug-ins are tried writes the note already.
        all = encoders(&loaded);
        ASSERT_FALSE(note.isEmpty());
    }

    QTemporaryDir folder;
    QString note; ///< its file
    QString all;  ///< what was said the first time
    bool loaded = false;

    /// What `tov encoders` says, and in `loaded` whether it had to load FFmpeg for that.
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

    // What the content says is taken.
    const int last = content.lastIndexOf('\n', content.size() - 2) + 1;
    write(content.left(last) + "mp4 webm\n");
    const QString two = encoders(&loaded);
    EXPECT_FALSE(loaded);
    EXPECT_TRUE(two.contains(QStringLiteral("\nmp4 ")) && two.contains(QStringLiteral("\nwebm "))) << two.toStdString();
    EXPECT_FALSE(two.contains(QStringLiteral("\nmkv ")) || two.contains(QStringLiteral("\nframes ")))
        << two.toStdString();
    EXPECT_TRUE(two.contains(QStringLiteral("missing here: mov (libx264)"))) << two.toStdString();
}

TEST_F(RememberedFormats, AChangedLibraryOrADamagedNoteIsLookedIntoAnew)
{
    const QByteArray content = read();
    QList<QByteArray> lines = content.split('\n');
    ASSERT_EQ(lines.size(), 7)
        << content.constData(); // title, our library, two of FFmpeg's, the loader's list, formats, end
    const int last = content.lastIndexOf('\n', content.size() - 2) + 1;
    const QByteArray few = "mp4\n";

    QList<QByteArray> damaged{"",
                              "\n",
                              "\n\n\n\n\n",
                              QByteArray(100000, 'x'),
                              QByteArray(100000, '\n'),
                              content.left(last - 3),
                              QByteArray("\0\xff\n", 3) + content.left(last) + few,
                              "tov video formats 2\n" +
                                  content.mid(content.indexOf('\n') + 1, last - content.indexOf('\n') - 1) + few};
    // Each of the four files with another size or date, gone, or not named at all.
    for (int line = 1; line <= 4; ++line) {
        for (const QByteArray& changed : {lines[line] + '1', lines[line].replace(lines[line].lastIndexOf(' '), 1, "1 "),
                                          QByteArray("/not/there 1 1.000000000"), QByteArray()}) {
            QList<QByteArray> other = content.left(last).split('\n');
            if (changed.isEmpty())
                other.removeAt(line);
            else
                other[line] = changed;
            damaged << other.join('\n') + few;
        }
    }
    for (const QByteArray& text : std::as_const(damaged)) {
        write(text);
        EXPECT_EQ(encoders(&loaded), all) << text.left(400).constData();
        EXPECT_TRUE(loaded) << text.left(400).constData();
        EXPECT_EQ(read(), content);
    }

    // A folder in its place: never remembered, always right.
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
