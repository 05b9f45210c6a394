// Pictures and recordings with one key, and the export dialogs.

#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/pictureexport.h"
#include "app/viewer/quickcapture.h"
#include "app/viewer/trajectorybar.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QImageReader>
#include <QLineEdit>
#include <QProcess>
#include <QSpinBox>
#include <QToolButton>

#include <cmath>

using namespace tov::test;

namespace {

class WindowCapture : public WindowTest
{
protected:
    tov::gui::ScenePanel* view() { return window().getPanelGrid()->getActivePanel(); }
    QLabel* figures() { return window().findChild<QLabel*>("RecordingFigures"); }
};

} // namespace

TEST_F(WindowCapture, SnapshotsAreNumberedAndHaveTheSizeOfTheView)
{
    openSample();
    for (const char* name : {"crane-001.png", "crane-002.png"}) {
        QTest::keyClick(view(), Qt::Key_F12);
        ASSERT_TRUE(waitForNoRuns());
        EXPECT_EQ(QImageReader(file(name)).size().width(), view()->width()) << name;
        EXPECT_TRUE(noticeContains(name));
    }
    tovSettings().setValue("window/capturepattern", "shot {model} {n}");
    window().getCapture()->getSnapshotAction()->trigger();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(QFile::exists(file("shot crane 001.png")));
}

TEST_F(WindowCapture, RecordStartsAndStopsWithOneKey)
{
    openSample();
    QTest::keyClick(view(), Qt::Key_R);
    ASSERT_EQ(runs().size(), 1u);
    EXPECT_TRUE(window().getCapture()->getRecordAction()->isChecked());
    EXPECT_EQ(runs().front()->getArgument("sync"), QString("0"));
    ASSERT_TRUE(processUntil([this] { return QFileInfo(file("crane-001~partial.mp4")).size() > 0; }));
    ASSERT_TRUE(processUntil([this] { return figures()->isVisible() && figures()->text().contains("free"); }));
    QTest::keyClick(view(), Qt::Key_R);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_FALSE(window().getCapture()->getRecordAction()->isChecked());
    EXPECT_TRUE(processUntil([this] { return !figures()->isVisible(); }));
    EXPECT_GT(countFrames(file("crane-001.mp4")), 0);
}

TEST_F(WindowCapture, ARecordingPlaysAsLongAsItTookAndItsRateIsReported)
{
    openSample();
    // At this rate the video would play twice as fast as it was recorded.
    tovSettings().setValue("settings/grabvideofps", 50);
    QElapsedTimer clock;
    clock.start();
    QTest::keyClick(view(), Qt::Key_R);
    ASSERT_TRUE(processUntil(
        [this, &clock] { return QFileInfo(file("crane-001~partial.mp4")).size() > 0 && clock.elapsed() > 1500; }));
    QTest::keyClick(view(), Qt::Key_R);
    const double recorded = double(clock.elapsed()) / 1000;
    ASSERT_TRUE(waitForNoRuns());
    ASSERT_TRUE(processUntil([this] { return noticeContains("frames per second"); }));
    EXPECT_FALSE(noticeContains("real time")) << "it does not play faster or slower";
    QProcess process;
    process.start("ffprobe",
                  {"-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", file("crane-001.mp4")});
    ASSERT_TRUE(process.waitForFinished(60000));
    // The last frames may be captured while the window handles the key.
    const double played = process.readAllStandardOutput().trimmed().toDouble();
    EXPECT_GT(played, 0.97 * recorded);
    EXPECT_LT(played, recorded + 0.5);
}

TEST_F(WindowCapture, RecordStopsARecordingStartedElsewhere)
{
    openSample();
    ASSERT_TRUE(record(file("console.mp4")));
    window().getCapture()->toggleRecording();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("console.mp4")), 5);
    EXPECT_FALSE(QFile::exists(file("crane-001.mp4")));
}

TEST_F(WindowCapture, ASnapshotThatCannotBeWrittenIsReported)
{
    openSample();
    tovSettings().setValue("window/capturefolder", "/proc");
    QTest::keyClick(view(), Qt::Key_F12);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(processUntil([this] { return window().getNotices()->getTexts().size() == 1; }));
}

TEST_F(WindowCapture, APictureOfExactSizeWithoutBackgroundTakesThreeClicks)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportPictureAction"), "ExportPictureDialog", [&](QWidget* dialog) {
        EXPECT_EQ(dialog->findChild<QSpinBox*>("Width")->value(), 1920);
        EXPECT_EQ(dialog->findChild<QSpinBox*>("Height")->value(), 1080);
        EXPECT_EQ(dialog->findChild<QLineEdit*>("FileName")->text(), file("crane-001.png"));
        dialog->findChild<QCheckBox*>("Transparent")->click();
        EXPECT_TRUE(
            processUntil([&] { return !dialog->findChild<QLabel*>("Preview")->pixmap(Qt::ReturnByValue).isNull(); }));
        button(dialog, "Export")->click();
    });
    ASSERT_TRUE(processUntil([this] { return noticeContains("crane-001.png"); }, 60000));
    const QImage picture(file("crane-001.png"));
    ASSERT_EQ(picture.size(), QSize(1920, 1080));
    EXPECT_EQ(qAlpha(picture.pixel(2, 2)), 0);
    bool opaque = false;
    for (int y = 0; y < picture.height(); y += 4)
        for (int x = 0; x < picture.width(); x += 4)
            opaque = opaque || qAlpha(picture.pixel(x, y)) == 255;
    EXPECT_TRUE(opaque);
}

TEST_F(WindowCapture, ExportedPicturesWithoutTransparencyAreOpaque)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportPictureAction"), "ExportPictureDialog", [&](QWidget* dialog) {
        type(dialog, "Width", "300");
        type(dialog, "Height", "300");
        type(dialog, "FileName", file("square.png"));
        button(dialog, "Export")->click();
    });
    ASSERT_TRUE(processUntil([this] { return noticeContains("square.png"); }, 60000));
    const QImage picture(file("square.png"));
    ASSERT_EQ(picture.size(), QSize(300, 300));
    EXPECT_FALSE(picture.hasAlphaChannel());
    EXPECT_TRUE(showsSomething(picture));
}

TEST_F(WindowCapture, AWrongNameKeepsThePictureDialogOpen)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportPictureAction"), "ExportPictureDialog", [&](QWidget* dialog) {
        for (const QString& name : {QString(), file("a.nothing"), file("absent/a.png")}) {
            dialog->findChild<QLineEdit*>("FileName")->setText(name);
            EXPECT_FALSE(button(dialog, "Export")->isEnabled()) << name.toStdString();
        }
        dialog->findChild<QLineEdit*>("FileName")->setText(file("a.jpg"));
        EXPECT_TRUE(button(dialog, "Export")->isEnabled());
        EXPECT_FALSE(dialog->findChild<QCheckBox*>("Transparent")->isEnabled()) << "jpg has no transparency";
        dialog->close();
    });
}

TEST_F(WindowCapture, TheBackgroundIsRemovedFromBlendedPixels)
{
    const QColor background(200, 100, 50);
    QImage picture(3, 1, QImage::Format_ARGB32);
    picture.setPixel(0, 0, qRgba(200, 100, 50, 0));
    picture.setPixel(1, 0, qRgba(10, 20, 30, 255));
    // Half of (20, 40, 60) over the background.
    picture.setPixel(2, 0, qRgba(110, 70, 55, 128));
    const QImage clean = tov::viewer::withoutBackground(picture, background);
    EXPECT_EQ(clean.pixel(0, 0), qRgba(0, 0, 0, 0));
    EXPECT_EQ(clean.pixel(1, 0), qRgba(10, 20, 30, 255));
    EXPECT_NEAR(qRed(clean.pixel(2, 0)), 20, 2);
    EXPECT_NEAR(qGreen(clean.pixel(2, 0)), 40, 2);
    EXPECT_NEAR(qBlue(clean.pixel(2, 0)), 60, 2);
    EXPECT_EQ(qAlpha(clean.pixel(2, 0)), 128);
}

TEST_F(WindowCapture, ATurntableVideoTakesTwoClicks)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
        EXPECT_EQ(dialog->findChild<QLineEdit*>("FileName")->text(), file("crane-001.mp4"));
        EXPECT_EQ(dialog->findChild<QDoubleSpinBox*>("Seconds")->value(), 10);
        dialog->findChild<QDoubleSpinBox*>("Seconds")->setValue(1);
        type(dialog, "Width", "320");
        type(dialog, "Height", "240");
        EXPECT_TRUE(dialog->findChild<QLabel*>("Message")->text().contains("25 frames"));
        button(dialog, "Record")->click();
    });
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(countFrames(file("crane-001.mp4")), 25);
}

TEST_F(WindowCapture, ATurntableVideoStartsFromTheViewOfTheUser)
{
    openSample();
    view()->orbit(20, 10);
    view()->zoom(2.5);
    const auto chosen = view()->getCamera();
    triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
        dialog->findChild<QDoubleSpinBox*>("Seconds")->setValue(0.2);
        type(dialog, "Width", "320");
        type(dialog, "Height", "240");
        button(dialog, "Record")->click();
    });
    ASSERT_TRUE(waitForNoRuns());
    tov::trajectory::TrajectoryHandler::getInstance()->setPosition(0);
    EXPECT_NEAR(view()->getCamera().distance, chosen.distance, 1e-9 * chosen.distance);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_NEAR(view()->getCamera().target[i], chosen.target[i], 1e-9 * chosen.distance);
}

TEST_F(WindowCapture, TheExportedVideoOfATimedFileLastsAsLongAtEveryRate)
{
    openSample();
    QFile path(file("path.csv"));
    ASSERT_TRUE(path.open(QIODevice::WriteOnly));
    path.write("0,-3,0,0\n1,3,0,0\n");
    path.close();
    window().getTrajectoryBar()->openFile(path.fileName());
    triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
        type(dialog, "Width", "64");
        type(dialog, "Height", "48");
        dialog->findChild<QSpinBox*>("Fps")->setValue(12);
        EXPECT_TRUE(dialog->findChild<QLabel*>("Message")->text().contains("12 frames"));
        button(dialog, "Record")->click();
    });
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(countFrames(file("crane-001.mp4")), 12);
}

TEST_F(WindowCapture, ThePathIsDrawnInTheViewButNotInPictures)
{
    openSample();
    window().getTrajectoryBar()->openFile(QStringLiteral(TOV_SOURCE_DIR "/samples/tour.json"));
    const auto pathPixels = [](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                count += color.red() > 200 && std::abs(color.green() - 150) < 40 && color.blue() < 90;
            }
        return count;
    };
    const int without = pathPixels(view()->grabFramebuffer());
    view()->setFollowsTrajectory(false);
    view()->setStandardView(tov::gui::ScenePanel::StandardView::Isometric);
    view()->zoom(0.3);
    EXPECT_GT(pathPixels(view()->grabFramebuffer()), without + 50);
    QTest::keyClick(view(), Qt::Key_F12);
    ASSERT_TRUE(waitForNoRuns());
    const int inPicture = pathPixels(QImage(file("crane-001.png")));
    auto* toggle = window().findChild<QAction*>("ShowPathAction");
    ASSERT_TRUE(toggle);
    toggle->trigger();
    EXPECT_FALSE(toggle->isChecked());
    EXPECT_NEAR(pathPixels(view()->grabFramebuffer()), inPicture, 30);
}

TEST_F(WindowCapture, TheVideoDialogNamesFilesByFormat)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
        auto* format = dialog->findChild<QComboBox*>("Format");
        ASSERT_GT(format->count(), 2);
        for (int i = 0; i < format->count(); ++i) {
            format->setCurrentIndex(i);
            emit format->activated(i);
            EXPECT_TRUE(button(dialog, "Record")->isEnabled()) << i;
        }
        dialog->findChild<QLineEdit*>("FileName")->setText(file("a.nothing"));
        EXPECT_FALSE(button(dialog, "Record")->isEnabled());
        dialog->close();
    });
}

TEST_F(WindowCapture, ThePreviewOfAVideoShowsItsFirstFrame)
{
    openSample();
    // Larger than the view: the turntable moves back until the whole model is in the video.
    view()->orbit(70, 20);
    view()->fitToView();
    QImage preview;
    triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
        dialog->findChild<QDoubleSpinBox*>("Seconds")->setValue(0.2);
        type(dialog, "Width", "360");
        type(dialog, "Height", "220");
        auto* label = dialog->findChild<QLabel*>("Preview");
        EXPECT_TRUE(processUntil([&] { return label->pixmap(Qt::ReturnByValue).size() == QSize(360, 220); }));
        // Several drawings may be under way.
        EXPECT_TRUE(waitForNoRuns());
        preview = label->pixmap(Qt::ReturnByValue).toImage();
        button(dialog, "Record")->click();
    });
    ASSERT_TRUE(waitForNoRuns());
    ASSERT_EQ(
        QProcess::execute("ffmpeg", {"-v", "error", "-i", file("crane-001.mp4"), "-frames:v", "1", file("f.png")}), 0);
    const QImage first(file("f.png"));
    ASSERT_EQ(first.size(), preview.size());
    double difference = 0, shown = 0;
    for (int y = 0; y < first.height(); ++y)
        for (int x = 0; x < first.width(); ++x) {
            difference += std::abs(qGray(first.pixel(x, y)) - qGray(preview.pixel(x, y)));
            shown += std::abs(qGray(first.pixel(x, y)) - qGray(first.pixel(1, 1)));
        }
    // Compression and the line of the safe area; a picture that is a few pixels larger differs several times as much.
    EXPECT_LT(difference, 0.1 * shown);
}

TEST_F(WindowCapture, ThePixelsOfAPageFollowItsResolution)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportPictureAction"), "ExportPictureDialog", [&](QWidget* dialog) {
        auto* preset = dialog->findChild<QComboBox*>("SizePreset");
        auto* width = dialog->findChild<QSpinBox*>("Width");
        const int page = preset->findText("Page width, 300 dpi");
        ASSERT_GE(page, 0);
        preset->setCurrentIndex(page);
        emit preset->activated(page);
        EXPECT_EQ(width->value(), 1890) << "16 cm";
        dialog->findChild<QSpinBox*>("Dpi")->setValue(600);
        EXPECT_EQ(width->value(), 3780);
        EXPECT_EQ(preset->currentText(), QString("Page width, 600 dpi"));
        dialog->close();
    });
}

TEST_F(WindowCapture, EstimatesComeFromEarlierExports)
{
    openSample();
    const auto message = [this](const std::function<void(QWidget*)>& inDialog) {
        QString text;
        triggerWithDialog(window().findChild<QAction*>("ExportVideoAction"), "ExportVideoDialog", [&](QWidget* dialog) {
            dialog->findChild<QDoubleSpinBox*>("Seconds")->setValue(0.4);
            type(dialog, "Width", "640");
            type(dialog, "Height", "480");
            text = dialog->findChild<QLabel*>("Message")->text();
            inDialog(dialog);
        });
        return text;
    };
    EXPECT_FALSE(message([](QWidget* dialog) { button(dialog, "Record")->click(); }).contains("takes about"));
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(message([](QWidget* dialog) { dialog->close(); }).contains("takes about"));
}

TEST_F(WindowCapture, PreferencesSetFolderNamesFormatsAndRate)
{
    openSample();
    ASSERT_TRUE(QDir(file("")).mkdir("captures"));
    triggerWithDialog(window().findChild<QAction*>("PreferencesAction"), "PreferencesDialog", [&](QWidget* dialog) {
        type(dialog, "CaptureFolder", file("captures"));
        type(dialog, "CapturePattern", "shot {n}");
        for (const auto& [field, format] :
             {std::pair("SnapshotFormat", "jpg"), std::pair("RecordingFormat", "hq.mp4")}) {
            auto* box = dialog->findChild<QComboBox*>(field);
            ASSERT_GE(box->findData(format), 0) << field;
            box->setCurrentIndex(box->findData(format));
        }
        dialog->findChild<QSpinBox*>("CaptureRate")->setValue(12);
        dialog->close();
    });
    window().getCapture()->getSnapshotAction()->trigger();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(QImageReader(file("captures/shot 001.jpg")).format(), QByteArray("jpeg"));
    window().getCapture()->toggleRecording();
    ASSERT_TRUE(processUntil([this] { return QFileInfo(file("captures/shot 001~partial.hq.mp4")).size() > 0; }));
    window().getCapture()->toggleRecording();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("captures/shot 001.hq.mp4")), 0);
    EXPECT_EQ(tovSettings().value("settings/grabvideofps").toInt(), 12);
}

TEST_F(WindowCapture, TheFileDialogOfAnExportSelectsTheName)
{
    openSample();
    triggerWithDialog(window().findChild<QAction*>("ExportPictureAction"), "ExportPictureDialog", [&](QWidget* dialog) {
        onDialog("QFileDialog", [&](QWidget* files) {
            EXPECT_EQ(qobject_cast<QFileDialog*>(files)->selectedFiles(), QStringList(file("crane-001.png")));
            files->close();
        });
        for (auto* choose : dialog->findChildren<QToolButton*>())
            if (choose->text() == "...")
                choose->click();
        dialog->close();
    });
}

TEST_F(WindowCapture, ATurntableOfAFittedViewCropsNothing)
{
    openSample();
    view()->orbit(40, 30);
    view()->fitToView();
    auto* handler = tov::trajectory::TrajectoryHandler::getInstance();
    QString error;
    ASSERT_TRUE(handler->selectTurntable(12, &error)) << error.toStdString();
    for (unsigned long position = 0; position < 12; ++position) {
        handler->setPosition(position);
        const QImage shown = view()->grabFramebuffer();
        const QRgb background = shown.pixel(1, 1);
        for (int x = 0; x < shown.width(); ++x)
            for (int y : {1, shown.height() - 2})
                ASSERT_EQ(shown.pixel(x, y), background) << "position " << position << ", " << x << " " << y;
        for (int y = 1; y < shown.height() - 1; ++y)
            for (int x : {1, shown.width() - 2})
                ASSERT_EQ(shown.pixel(x, y), background) << "position " << position << ", " << x << " " << y;
    }
}
