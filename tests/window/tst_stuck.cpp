// An encoder that never returns, in the window. Needs a plug-in that is not part of the program: tests/faults copies it
// next to a copy of the program and runs this test there.

#include "app/viewer/noticebar.h"
#include "app/viewer/runsbar.h"
#include "kernel/workers/overseer.h"
#include "tests/window/windowfixture.h"

#include <QFile>
#include <QMessageBox>
#include <QPushButton>

#include <cstdio>

using namespace tov::test;

class WindowStuck : public WindowTest
{};

TEST_F(WindowStuck, AHangingEncoderIsReportedAndTheWindowCanBeClosed)
{
    if (!QFile::exists(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/misbehaves.so")))
        GTEST_SKIP() << "no hanging plug-in was found";
    openSample();
    tov::main::CommandArguments arguments;
    arguments.named = {{QStringLiteral("filename"), file("stuck.hangs")},
                       {QStringLiteral("width"), QStringLiteral("160")},
                       {QStringLiteral("height"), QStringLiteral("120")},
                       {QStringLiteral("sync"), QStringLiteral("0")}};
    QString error;
    ASSERT_TRUE(tov::main::Overseer::getInstance()->getCommandProcessor()->start(QStringLiteral("grabvideo"), arguments,
                                                                                 &error))
        << error.toStdString();
    QPushButton* stop = nullptr;
    ASSERT_TRUE(
        processUntil([&] { return (stop = window().getRuns()->findChild<QPushButton*>("StopButton")) != nullptr; }));
    QTest::qWait(1000);
    stop->click();
    EXPECT_TRUE(processUntil([this] { return noticeContains("an encoder that hangs never ends"); }, 30000));
    // Other work continues meanwhile.
    tov::main::CommandArguments picture;
    picture.named = {{QStringLiteral("filename"), file("beside.png")},
                     {QStringLiteral("width"), QStringLiteral("300")}};
    ASSERT_TRUE(
        tov::main::Overseer::getInstance()->getCommandProcessor()->start(QStringLiteral("grabimage"), picture, &error))
        << error.toStdString();
    EXPECT_TRUE(processUntil([this] { return QFile::exists(file("beside.png")); }, 30000));
    onDialog("QuitQuestion", [](QWidget* dialog) { button(dialog, "Finish and quit")->click(); });
    window().close();
    EXPECT_TRUE(window().isVisible());
    QWidget* leave = nullptr;
    ASSERT_TRUE(
        processUntil([&] { return (leave = window().findChild<QMessageBox*>("LeaveQuestion")) != nullptr; }, 40000));
    if (!HasFailure())
        std::puts("leaving without it");
    std::fflush(stdout);
    button(leave, "Quit anyway")->click();
    FAIL() << "the program is still there";
}
