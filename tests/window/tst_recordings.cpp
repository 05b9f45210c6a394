// Recordings: started and stopped in the window, running at exit, several at once.

#include "app/viewer/consolewidget.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/runsbar.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

#include <cmath>

using namespace tov::test;
using tov::trajectory::TrajectoryHandler;

namespace {

class WindowRecordings : public WindowTest
{
protected:
    QPushButton* stopButton() { return window().getRuns()->findChild<QPushButton*>("StopButton"); }
};

} // namespace

TEST_F(WindowRecordings, DialogRecordsAlongTheTrajectory)
{
    openSample();
    QString error;
    ASSERT_TRUE(TrajectoryHandler::getInstance()->selectTurntable(12, &error));
    triggerWithDialog(menuAction("Grab", "Video"), "ParameterDialog", [&](QWidget* dialog) {
        EXPECT_TRUE(dialog->findChild<QLabel*>("Advice")->isHidden());
        EXPECT_TRUE(dialog->findChild<QCheckBox*>("sync")->isChecked());
        type(dialog, "filename", file("turn.mp4"));
        type(dialog, "width", "160");
        type(dialog, "height", "120");
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(countFrames(file("turn.mp4")), 12);
    EXPECT_TRUE(processUntil([this] { return noticeContains("12 frames"); }));
}

TEST_F(WindowRecordings, AMissingTrajectoryIsReportedAtOnce)
{
    openSample();
    QString advice;
    triggerWithDialog(menuAction("Grab", "Video"), "ParameterDialog", [&](QWidget* dialog) {
        advice = dialog->findChild<QLabel*>("Advice")->text();
        EXPECT_FALSE(dialog->findChild<QLabel*>("Advice")->isHidden());
        dialog->findChild<QCheckBox*>("sync")->setChecked(false);
        EXPECT_TRUE(dialog->findChild<QLabel*>("Advice")->isHidden());
        dialog->findChild<QCheckBox*>("sync")->setChecked(true);
        type(dialog, "filename", file("nothing.mp4"));
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    EXPECT_TRUE(advice.contains("No trajectory is open")) << advice.toStdString();
    ASSERT_TRUE(processUntil([this] { return noticeContains("No trajectory is open"); }));
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(noticeContains("Nothing was written to nothing.mp4"));
    EXPECT_FALSE(QFile::exists(file("nothing.mp4"))) << QFileInfo(file("nothing.mp4")).size();
}

TEST_F(WindowRecordings, StopButtonEndsARecordingThatThenPlays)
{
    openSample();
    ASSERT_TRUE(record(file("stopped.mp4")));
    ASSERT_TRUE(processUntil([this] { return stopButton() && stopButton()->isVisible(); }));
    QTest::mouseClick(stopButton(), Qt::LeftButton);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("stopped.mp4")), 10);
    EXPECT_TRUE(processUntil([this] { return noticeContains("stopped.mp4"); }));
    EXPECT_FALSE(window().getRuns()->isVisible());
}

TEST_F(WindowRecordings, FreeSpaceAndPendingFramesAreShown)
{
    openSample();
    for (const bool memory : {false, true}) {
        tovSettings().setValue("settings/grabvideousememoryasbuffer", memory);
        tovSettings().setValue("settings/grabvideotempfilesize", 10);
        QString error;
        ASSERT_TRUE(TrajectoryHandler::getInstance()->selectTurntable(1000, &error));
        // Captured faster than it is encoded, and stopped when frames are pending.
        window().getConsole()->submit(
            QString("grabvideo filename=\"%1\" width=800 height=600 sync=1").arg(file("behind.av1.mkv")));
        const auto shown = [this] {
            const auto* label = window().getRuns()->findChild<QLabel*>("RoomLabel");
            return label ? label->text() : QString();
        };
        EXPECT_TRUE(processUntil([&] { return shown().contains("free,") && shown().contains("waiting"); }, 60000))
            << memory << shown().toStdString();
        for (const auto& run : runs())
            run->stop();
        ASSERT_TRUE(waitForNoRuns(120000));
        EXPECT_GT(countFrames(file("behind.av1.mkv")), 10);
        QFile::remove(file("behind.av1.mkv"));
    }
    tovSettings().remove("settings/grabvideousememoryasbuffer");
    tovSettings().remove("settings/grabvideotempfilesize");
}

TEST_F(WindowRecordings, ARecordingWithoutChunksIsReportedAtOnce)
{
    openSample();
    // Neither memory nor temporary files: no file can be created there.
    tovSettings().setValue("settings/grabvideousememoryasbuffer", false);
    tovSettings().setValue("settings/lowspacelimit", 0);
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/proc/self");
    window().getConsole()->submit(QString("grabvideo filename=\"%1\" width=64 height=48 sync=0").arg(file("lost.mp4")));
    EXPECT_TRUE(processUntil([this] { return noticeContains("takes no more frames: Couldn't open temporary file"); }));
    ASSERT_FALSE(runs().empty());
    runs().front()->stop();
    EXPECT_TRUE(waitForNoRuns());
    EXPECT_TRUE(noticeContains("Nothing was written to lost.mp4"));
    before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
    tovSettings().remove("settings/grabvideousememoryasbuffer");
    tovSettings().remove("settings/lowspacelimit");
}

TEST_F(WindowRecordings, ARecordingFollowsThePanel)
{
    openSample();
    auto* panel = window().getPanelGrid()->getActivePanel();
    ASSERT_TRUE(record(file("follows.mp4")));
    const auto before = panel->getScaledTransformMatrix();
    drag(panel, Qt::LeftButton, QPoint(100, 100), QPoint(160, 120));
    bool moved = false;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            moved = moved || before(row, column) != panel->getScaledTransformMatrix()(row, column);
    EXPECT_TRUE(moved) << "the panel cannot be turned while it is recorded";
    ASSERT_FALSE(runs().empty());
    runs().front()->stop();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("follows.mp4")), 10);
}

TEST_F(WindowRecordings, AViewThatIsRecordedClosesOnlyAfterAQuestion)
{
    openSample();
    menuAction("View", "2 views")->trigger();
    ASSERT_EQ(window().getPanelGrid()->getPanelCount(), 2);
    ASSERT_TRUE(record(file("asked.mp4")));
    triggerWithDialog(menuAction("View", "Close view"), "RecordedViewQuestion",
                      [](QWidget* question) { QTest::keyClick(question, Qt::Key_Escape); });
    EXPECT_EQ(window().getPanelGrid()->getPanelCount(), 2);
    ASSERT_EQ(runs().size(), 1u);
    EXPECT_FALSE(runs().front()->isStopped());
    triggerWithDialog(menuAction("View", "Close view"), "RecordedViewQuestion",
                      [](QWidget* question) { button(question, "Stop, keep and close")->click(); });
    EXPECT_TRUE(processUntil([this] { return window().getPanelGrid()->getPanelCount() == 1; }, 60000));
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("asked.mp4")), 5) << "what was captured is kept";
}

TEST_F(WindowRecordings, ReducingTheViewsAsksAboutARecordedOneToo)
{
    openSample();
    menuAction("View", "2 views")->trigger();
    auto* grid = window().getPanelGrid();
    grid->setActivePanel(grid->getPanels()[1]);
    ASSERT_TRUE(record(file("second.mp4")));
    triggerWithDialog(menuAction("View", "One view"), "RecordedViewQuestion",
                      [](QWidget* question) { QTest::keyClick(question, Qt::Key_Escape); });
    EXPECT_EQ(grid->getPanelCount(), 2);
    EXPECT_TRUE(menuAction("View", "2 views")->isChecked()) << "the menu shows the actual number of views";
    triggerWithDialog(menuAction("View", "One view"), "RecordedViewQuestion",
                      [](QWidget* question) { button(question, "Stop, keep and close")->click(); });
    EXPECT_TRUE(processUntil([&] { return grid->getPanelCount() == 1; }, 60000));
    EXPECT_GT(countFrames(file("second.mp4")), 5);
}

TEST_F(WindowRecordings, APanelThatIsDestroyedAbortsItsRecordingAndLeavesNoFile)
{
    openSample();
    menuAction("View", "2 views")->trigger();
    ASSERT_EQ(window().getPanelGrid()->getPanelCount(), 2);
    LogCapture log;
    ASSERT_TRUE(record(file("aborted.mp4")));
    window().getPanelGrid()->closePanel(window().getPanelGrid()->getActivePanel());
    EXPECT_EQ(window().getPanelGrid()->getPanelCount(), 1);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(log.contains("Video grabbing aborted")) << log.text();
    EXPECT_FALSE(QFile::exists(file("aborted.mp4")));
    EXPECT_TRUE(noticeContains("aborted.mp4"));
    EXPECT_TRUE(processUntil([this] { return menuAction("Grab", "Video")->isEnabled(); }))
        << "the other panel can be recorded";
}

TEST_F(WindowRecordings, FourPanelsRecordAtOnce)
{
    openSample();
    menuAction("View", "4 views")->trigger();
    auto* grid = window().getPanelGrid();
    ASSERT_EQ(grid->getPanelCount(), 4);
    for (int i = 0; i < 4; ++i) {
        grid->setActivePanel(grid->getPanels()[i]);
        ASSERT_TRUE(processUntil([this] { return menuAction("Grab", "Video")->isEnabled(); }));
        ASSERT_TRUE(record(file(QString("panel%1.mp4").arg(i)))) << i;
        EXPECT_TRUE(processUntil([this] { return !menuAction("Grab", "Video")->isEnabled(); }))
            << "a panel that is being recorded cannot be recorded again";
    }
    EXPECT_EQ(runs().size(), 4u);
    EXPECT_EQ(window().getRuns()->getRowCount(), 4);
    for (const auto& run : runs())
        run->stop();
    ASSERT_TRUE(waitForNoRuns());
    for (int i = 0; i < 4; ++i)
        EXPECT_GT(countFrames(file(QString("panel%1.mp4").arg(i))), 5) << i;
}

TEST_F(WindowRecordings, ClosingTheWindowAsksAndCanBeRefused)
{
    openSample();
    ASSERT_TRUE(record(file("goeson.mp4")));
    onDialog("QuitQuestion", [&](QWidget* question) {
        EXPECT_TRUE(qobject_cast<QMessageBox*>(question)->text().contains("Still running"));
        QTest::keyClick(question, Qt::Key_Escape);
    });
    window().close();
    EXPECT_TRUE(window().isVisible());
    ASSERT_EQ(runs().size(), 1u);
    EXPECT_FALSE(runs().front()->isStopped());
}

TEST_F(WindowRecordings, ClosingTheWindowEndsTheRecordingCleanly)
{
    openSample();
    ASSERT_TRUE(record(file("kept.mp4")));
    onDialog("QuitQuestion", [&](QWidget* question) { button(question, "Finish and quit")->click(); });
    window().close();
    ASSERT_TRUE(processUntil([this] { return !window().isVisible(); }, 60000));
    EXPECT_TRUE(runs().empty());
    EXPECT_GT(countFrames(file("kept.mp4")), 10);
}

TEST_F(WindowRecordings, ClosingTheWindowFinishesAPicture)
{
    openSample();
    window().getConsole()->submit(QString("grabimage filename=\"%1\" width=4000").arg(file("kept.png")));
    ASSERT_EQ(runs().size(), 1u);
    onDialog("QuitQuestion", [&](QWidget* question) { button(question, "Finish and quit")->click(); });
    window().close();
    ASSERT_TRUE(processUntil([this] { return !window().isVisible(); }, 60000));
    const QImage image(file("kept.png"));
    EXPECT_EQ(image.width(), 4000);
}

TEST_F(WindowRecordings, PanelCountCanChangeDuringARecording)
{
    openSample();
    ASSERT_TRUE(record(file("through.mp4")));
    for (const char* count : {"4 views", "2 views", "One view"}) {
        menuAction("View", count)->trigger();
        QCoreApplication::processEvents();
    }
    ASSERT_EQ(runs().size(), 1u) << "the recorded panel is the first one and stays";
    runs().front()->stop();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("through.mp4")), 10);
}

TEST_F(WindowRecordings, ADiskThatRunsFullStopsTheRecordingAndKeepsIt)
{
    openSample();
    ASSERT_TRUE(record(file("low.mp4")));
    // More than any disk has.
    tovSettings().setValue("settings/lowspacelimit", qlonglong(1) << 40);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(noticeContains("the recording was stopped"));
    EXPECT_GT(countFrames(file("low.mp4")), 10);
}

TEST_F(WindowRecordings, AMissingHeightFollowsFromTheView)
{
    openSample();
    QString advice;
    triggerWithDialog(menuAction("Grab", "Video"), "ParameterDialog", [&](QWidget* dialog) {
        dialog->findChild<QCheckBox*>("sync")->setChecked(false);
        type(dialog, "filename", file("wide.mp4"));
        type(dialog, "width", "320");
        type(dialog, "height", "0");
        advice = dialog->findChild<QLabel*>("Advice")->text();
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    const auto* view = window().getPanelGrid()->getActivePanel();
    const int height = 2 * int(std::lround(320.0 * view->height() / view->width() / 2));
    EXPECT_TRUE(advice.contains(QString("%1 pixels").arg(height))) << advice.toStdString();
    ASSERT_TRUE(processUntil([this] { return QFileInfo(file("wide.mp4")).size() > 0; }));
    ASSERT_FALSE(runs().empty());
    EXPECT_EQ(runs().front()->getArgument("width"), QString("320"));
    EXPECT_EQ(runs().front()->getArgument("height"), QString::number(height));
    runs().front()->stop();
    ASSERT_TRUE(waitForNoRuns());
}

TEST_F(WindowRecordings, TheDialogRecordsATrajectoryThatWasJustOpened)
{
    openSample();
    tovSettings().setValue("dialogs/grabvideo/sync", "0");
    QString error;
    ASSERT_TRUE(TrajectoryHandler::getInstance()->selectTurntable(12, &error));
    triggerWithDialog(menuAction("Grab", "Video"), "ParameterDialog", [&](QWidget* dialog) {
        EXPECT_TRUE(dialog->findChild<QCheckBox*>("sync")->isChecked());
        dialog->close();
    });
}

TEST_F(WindowRecordings, ASignalEndsARecordingWithoutAQuestion)
{
    openSample();
    ASSERT_TRUE(record(file("signal.mp4")));
    window().quitWithoutAsking();
    ASSERT_TRUE(processUntil([this] { return !window().isVisible(); }, 60000));
    EXPECT_GT(countFrames(file("signal.mp4")), 5);
}
