// The program's PNG writer: pictures are read back unchanged, by Qt's own reader and by other tools.

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <sys/resource.h>

namespace {

/// The files of Qt's writer for the same pictures, written before the program's own plug-in can be found.
std::map<QString, qint64> usualSizes;

QImage drawing(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(QColor(38, 42, 51, 0));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QRandomGenerator random(3);
    for (int i = 0; i < 40; ++i) {
        QLinearGradient gradient(0, 0, width, height);
        gradient.setColorAt(0, QColor::fromRgb(random.generate()));
        gradient.setColorAt(1, QColor::fromRgb(random.generate()));
        painter.setBrush(gradient);
        painter.drawEllipse(random.bounded(width), random.bounded(height), 1 + width / 6, 1 + height / 6);
    }
    painter.end();
    return image.convertToFormat(format);
}

class Png : public testing::Test
{
protected:
    QTemporaryDir folder;
    QString path(const QString& name) const { return folder.filePath(name); }
    static QByteArray written(const QImage& image)
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
        EXPECT_TRUE(image.save(&buffer, "png"));
        return bytes;
    }
    /// True when the tool is installed and accepts the file.
    static void check(const QString& file)
    {
        if (QStandardPaths::findExecutable(QStringLiteral("pngcheck")).isEmpty())
            GTEST_SKIP() << "pngcheck is not installed";
        QProcess process;
        process.start(QStringLiteral("pngcheck"), {"-q", file});
        ASSERT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardOutput().constData();
    }
};

} // namespace

TEST_F(Png, EveryFormatIsReadBackUnchanged)
{
    for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format)
        for (const QSize& size : {QSize(1, 1), QSize(3, 2), QSize(130, 97), QSize(700, 1200)}) {
            SCOPED_TRACE("format " + std::to_string(format) + ", " + std::to_string(size.width()) + " wide");
            const QImage image = drawing(size.width(), size.height(), QImage::Format(format));
            ASSERT_FALSE(image.isNull());
            const QImage back = QImage::fromData(written(image));
            ASSERT_EQ(back.size(), image.size());
            const bool deep = image.depth() > 32 || format == QImage::Format_Grayscale16;
            const auto common = deep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
            // 30-bit formats hold 10 bits per channel, so they are compared with 16.
            EXPECT_EQ(back.convertToFormat(common), image.convertToFormat(common));
        }
}

TEST_F(Png, FilesAreOrdinaryAndHardlyLarger)
{
    for (const auto& [name, usual] : usualSizes) {
        const QSize size = name == QLatin1String("large") ? QSize(3000, 2200) : QSize(640, 480);
        const QString file = path(name + QStringLiteral(".png"));
        ASSERT_TRUE(drawing(size.width(), size.height()).save(file));
        EXPECT_LE(QFileInfo(file).size(), usual * 11 / 10) << name.toStdString();
        check(file);
        if (HasFatalFailure() || IsSkipped())
            return;
    }
}

TEST_F(Png, TextsDensityOffsetAndColourSpaceAreKept)
{
    QImage image = drawing(60, 40, QImage::Format_RGB32);
    image.setText(QStringLiteral("Title"), QStringLiteral("A crane"));
    image.setText(QStringLiteral("Comment"), QStringLiteral("größer \u4e2d"));
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(11811);
    image.setOffset(QPoint(3, -4));
    image.setColorSpace(QColorSpace(QColorSpace::SRgb));
    const QString file = path("meta.png");
    QImageWriter writer(file);
    writer.setText(QStringLiteral("Author"), QStringLiteral("somebody"));
    ASSERT_TRUE(writer.write(image)) << writer.errorString().toStdString();
    const QImage back(file);
    EXPECT_EQ(back.text("Title"), QStringLiteral("A crane"));
    EXPECT_EQ(back.text("Comment"), QStringLiteral("größer \u4e2d"));
    EXPECT_EQ(back.text("Author"), QStringLiteral("somebody"));
    EXPECT_EQ(back.dotsPerMeterX(), 11811);
    EXPECT_EQ(back.offset(), QPoint(3, -4));
    EXPECT_EQ(back.colorSpace(), image.colorSpace());
    check(file);
}

TEST_F(Png, PaletteKeepsItsColoursAndTransparency)
{
    QImage image(20, 10, QImage::Format_Indexed8);
    image.setColorTable({qRgba(255, 0, 0, 255), qRgba(0, 255, 0, 128), qRgba(0, 0, 255, 0)});
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            image.setPixel(x, y, (x + y) % 3);
    const QString file = path("palette.png");
    ASSERT_TRUE(image.save(file));
    const QImage back(file);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(back.pixel(x, y), image.pixel(x, y));
    check(file);
}

TEST_F(Png, QualityAndCompressionAreSupported)
{
    const QImage image = drawing(500, 400);
    const auto sizeWith = [&](auto set) {
        const QString file = path("q.png");
        QImageWriter writer(file);
        set(writer);
        EXPECT_TRUE(writer.write(image));
        EXPECT_EQ(QImage(file).convertToFormat(image.format()), image);
        return QFileInfo(file).size();
    };
    const qint64 smallest = sizeWith([](QImageWriter& w) { w.setQuality(0); });
    const qint64 fastest = sizeWith([](QImageWriter& w) { w.setQuality(100); });
    EXPECT_LT(smallest, fastest / 4) << "quality 100 stores without compression";
    EXPECT_EQ(sizeWith([](QImageWriter& w) { w.setCompression(9); }), smallest);
}

TEST_F(Png, AFullDeviceIsAFailure)
{
    const QImage image = drawing(800, 600);
    EXPECT_FALSE(image.save(QStringLiteral("/dev/full"), "png"));
    // Also a small one that fits into the file's buffer.
    EXPECT_FALSE(drawing(4, 4).save(QStringLiteral("/dev/full"), "png"));
    struct rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    for (const rlim_t limit : {rlim_t(10), rlim_t(1000), rlim_t(20000)}) {
        struct rlimit small = before;
        small.rlim_cur = limit;
        setrlimit(RLIMIT_FSIZE, &small);
        EXPECT_FALSE(image.save(path("cut.png"))) << limit;
        setrlimit(RLIMIT_FSIZE, &before);
    }
    EXPECT_FALSE(QImage().save(path("null.png")));
}

TEST_F(Png, ReadingIsLeftToQt)
{
    const QString file = path("r.png");
    ASSERT_TRUE(drawing(50, 40).save(file));
    QImageReader reader(file);
    EXPECT_EQ(reader.format(), "png");
    EXPECT_EQ(reader.size(), QSize(50, 40));
    EXPECT_FALSE(reader.read().isNull());
    QFile noise(path("noise.png"));
    ASSERT_TRUE(noise.open(QIODevice::WriteOnly));
    noise.write("\x89PNG\r\n\x1a\nnoise");
    noise.close();
    EXPECT_TRUE(QImage(noise.fileName()).isNull());
}

#if defined(__SANITIZE_THREAD__)
// Qt converts large pictures on its own threads, whose locks the sanitizer does not see, so it converts them on one
// thread here. The threads of the writer are not affected.
__attribute__((visibility("default"))) void QThreadPool::start(std::function<void()> task, int)
{
    task();
}
#endif

int main(int argc, char** argv)
{
    std::signal(SIGXFSZ, SIG_IGN);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("usual.png"));
        for (const auto& [name, size] : {std::pair(QStringLiteral("small"), QSize(640, 480)),
                                         std::pair(QStringLiteral("large"), QSize(3000, 2200))}) {
            if (!drawing(size.width(), size.height()).save(file))
                return 1;
            usualSizes[name] = QFileInfo(file).size();
        }
    }
    QCoreApplication::addLibraryPath(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
