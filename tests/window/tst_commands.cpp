// Pictures and settings: by menu and dialog, by tool bar, from the console.

#include "app/viewer/consolewidget.h"
#include "app/viewer/commandactions.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/runsbar.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/pictures.h"
#include "tests/window/windowfixture.h"

#include <QMenuBar>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QImageReader>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>

using namespace tov::test;
using tov::scene::Viewer;

namespace {

class WindowCommands : public WindowTest
{
protected:
    QSize expectedSize(int width)
    {
        auto* panel = window().getPanelGrid()->getActivePanel();
        return QSize(width, int(double(panel->height()) / panel->width() * width));
    }
    /// The message of a command's dialog for a file name other than the initial one.
    QString messageBeforeTheStart(const QString& command, const QString& name)
    {
        QString message;
        triggerWithDialog(menuAction("Grab", command), "ParameterDialog", [&](QWidget* dialog) {
            type(dialog, "filename", file(name));
            onDialog("QMessageBox", [&](QWidget* box) {
                message = qobject_cast<QMessageBox*>(box)->text();
                onDialog("ParameterDialog", [&](QWidget* again) { QTest::keyClick(again, Qt::Key_Escape); });
                QTest::keyClick(box, Qt::Key_Return);
            });
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        return message;
    }
};

} // namespace

TEST_F(WindowCommands, MenuAndDialogMakeAPicture)
{
    openSample();
    const QString name = file("picture.png");
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        auto* ok = button(dialog, "OK");
        ASSERT_NE(ok, nullptr);
        EXPECT_FALSE(ok->isEnabled()) << "the file name is missing";
        type(dialog, "filename", name);
        type(dialog, "width", "400");
        EXPECT_TRUE(ok->isEnabled());
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(QImageReader(name).size(), expectedSize(400));
    EXPECT_TRUE(noticeContains("picture.png"));
    EXPECT_TRUE(noticeContains("400 x "));
    EXPECT_NE(button(window().getNotices(), "Open"), nullptr);
    EXPECT_NE(button(window().getNotices(), "Open folder"), nullptr);
}

TEST_F(WindowCommands, ToolBarHoldsTheCommandsInOrder)
{
    QStringList texts;
    for (auto* bar : window().findChildren<QToolBar*>())
        if (bar->objectName() == QLatin1String("ToolBar_Grab"))
            for (QAction* action : bar->actions())
                texts << action->iconText();
    EXPECT_EQ(texts, QStringList({"Image", "Video"}));
    QStringList menu;
    for (QAction* action : menuAction("Grab", "Image")->associatedWidgets().first()->actions())
        menu << (action->isSeparator() ? QString("-") : action->iconText());
    EXPECT_EQ(menu, QStringList({"Image", "Video", "-", "Video settings"}));
}

TEST_F(WindowCommands, FileButtonOpensTheCommandsOwnDialog)
{
    openSample();
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        auto* choose = dialog->findChild<QWidget*>("filename")->findChild<QToolButton*>();
        ASSERT_NE(choose, nullptr);
        onDialog("QFileDialog", [&](QWidget* inner) {
            auto* files = qobject_cast<QFileDialog*>(inner);
            EXPECT_EQ(files->windowTitle(), QStringLiteral("Save Image"));
            EXPECT_EQ(files->acceptMode(), QFileDialog::AcceptSave);
            EXPECT_TRUE(files->nameFilters().contains("PNG-File (*.png)"));
            auto* edit = files->findChild<QLineEdit*>();
            edit->setText(file("chosen"));
            QTest::keyClick(edit, Qt::Key_Return);
        });
        choose->click();
        EXPECT_EQ(dialog->findChild<QLineEdit*>("FileName")->text(), file("chosen.png"));
        dialog->close();
    });
}

TEST_F(WindowCommands, VideoDialogOpensOnTheLastFormatMp4AtFirst)
{
    openSample();
    triggerWithDialog(menuAction("Grab", "Video"), "ParameterDialog", [&](QWidget* dialog) {
        auto* choose = dialog->findChild<QWidget*>("filename")->findChild<QToolButton*>();
        onDialog("QFileDialog", [&](QWidget* inner) {
            auto* files = qobject_cast<QFileDialog*>(inner);
            EXPECT_TRUE(files->selectedNameFilter().contains("(*.mp4)")) << files->selectedNameFilter().toStdString();
            EXPECT_EQ(files->defaultSuffix(), QStringLiteral("mp4"));
            // The user picks another format; the name gets its ending.
            for (const QString& filter : files->nameFilters())
                if (filter.contains("(*.hq.mp4)")) {
                    files->selectNameFilter(filter);
                    emit files->filterSelected(filter);
                }
            auto* edit = files->findChild<QLineEdit*>();
            edit->setText(file("clip"));
            QTest::keyClick(edit, Qt::Key_Return);
        });
        choose->click();
        EXPECT_EQ(dialog->findChild<QLineEdit*>("FileName")->text(), file("clip.hq.mp4"));
        onDialog("QFileDialog", [&](QWidget* inner) {
            auto* files = qobject_cast<QFileDialog*>(inner);
            EXPECT_TRUE(files->selectedNameFilter().contains("(*.hq.mp4)"))
                << files->selectedNameFilter().toStdString();
            files->close();
        });
        choose->click();
        dialog->close();
    });
}

TEST_F(WindowCommands, WrongInputIsMarkedAtItsField)
{
    openSample();
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        auto* ok = button(dialog, "OK");
        type(dialog, "width", "300");
        type(dialog, "filename", file("picture.nothing"));
        EXPECT_FALSE(ok->isEnabled());
        bool marked = false;
        for (auto* label : dialog->findChildren<QLabel*>())
            marked = marked || (label->text().contains(".png") && label->styleSheet().contains("color"));
        EXPECT_TRUE(marked) << "no message explains the problem of the name";
        type(dialog, "filename", file("picture.PNG"));
        EXPECT_TRUE(ok->isEnabled());
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_TRUE(runs().empty()) << "Escape must not start anything";
}

TEST_F(WindowCommands, DialogProposesWhatWasUsedLast)
{
    openSample();
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        EXPECT_EQ(dialog->findChild<QWidget*>("width")->property("value").toInt(), 10000);
        type(dialog, "filename", file("first.png"));
        type(dialog, "width", "222");
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    ASSERT_TRUE(waitForNoRuns());
    restart();
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        EXPECT_EQ(dialog->findChild<QWidget*>("width")->property("value").toInt(), 222);
        EXPECT_EQ(dialog->findChild<QLineEdit*>("FileName")->text(), file("first.png"));
        dialog->close();
    });
}

TEST_F(WindowCommands, AFileIsReplacedOnlyWhenAgreed)
{
    openSample();
    const QString name = file("kept.png");
    QFile kept(name);
    ASSERT_TRUE(kept.open(QIODevice::WriteOnly));
    kept.write("precious");
    kept.close();
    int asked = 0;
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        type(dialog, "filename", name);
        type(dialog, "width", "200");
        onDialog("ReplaceQuestion", [&](QWidget* question) {
            ++asked;
            // No: back to the dialog, which is then cancelled.
            onDialog("ParameterDialog", [&](QWidget* again) { QTest::keyClick(again, Qt::Key_Escape); });
            QTest::keyClick(question, Qt::Key_Escape);
        });
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(QFileInfo(name).size(), 8);
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [&](QWidget* dialog) {
        type(dialog, "filename", name);
        type(dialog, "width", "200");
        onDialog("ReplaceQuestion", [&](QWidget* question) { button(question, "Replace")->click(); });
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(QImageReader(name).size().width(), 200);
}

TEST_F(WindowCommands, AFullDiskIsReportedBeforeARecording)
{
    openSample();
    // More than any disk has.
    tovSettings().setValue("settings/lowspacelimit", qlonglong(1) << 40);
    const QString message = messageBeforeTheStart("Video", "low.mp4");
    EXPECT_TRUE(message.startsWith("nothing was recorded")) << message.toStdString();
    EXPECT_FALSE(QFile::exists(file("low.mp4")));
    tovSettings().remove("settings/lowspacelimit");
}

TEST_F(WindowCommands, AMissingFolderIsReportedBeforeTheStart)
{
    openSample();
    const QString message = messageBeforeTheStart("Image", "absent/picture.png");
    EXPECT_TRUE(message.contains("there is no folder")) << message.toStdString();
    EXPECT_TRUE(runs().empty());
}

TEST_F(WindowCommands, ConsoleMakesAPictureAndReportsMistakes)
{
    openSample();
    auto* line = window().getConsole()->getCommandLine();
    const auto enter = [&](const QString& text) {
        line->setFocus();
        QTest::keyClicks(line, text);
        QTest::keyClick(line, Qt::Key_Return);
    };
    const auto lastLine = [&] {
        auto* model = window().getConsole()->getModel();
        return model->data(model->index(model->rowCount() - 1), Qt::DisplayRole).toString();
    };
    enter(QString("grabimage filename=\"%1\" width=300").arg(file("typed.png")));
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_EQ(QImageReader(file("typed.png")).size(), expectedSize(300));
    EXPECT_TRUE(line->text().isEmpty());
    enter("grabpicture");
    EXPECT_TRUE(lastLine().contains("There is no command \"grabpicture\"")) << lastLine().toStdString();
    const QString wrong = QString("grabimage filename=\"%1\" width=abc").arg(file("wrong.png"));
    enter(wrong);
    EXPECT_TRUE(lastLine().contains("width")) << lastLine().toStdString();
    QTest::keyClick(line, Qt::Key_Up);
    EXPECT_EQ(line->text(), wrong);
    QTest::keyClick(line, Qt::Key_Up);
    EXPECT_EQ(line->text(), QStringLiteral("grabpicture"));
    QTest::keyClick(line, Qt::Key_Down);
    QTest::keyClick(line, Qt::Key_Down);
    EXPECT_TRUE(line->text().isEmpty());
}

TEST_F(WindowCommands, TabCompletesCommandsAndParameters)
{
    auto* line = window().getConsole()->getCommandLine();
    line->setFocus();
    QTest::keyClicks(line, "grabi");
    QTest::keyClick(line, Qt::Key_Tab);
    EXPECT_EQ(line->text(), QStringLiteral("grabimage "));
    QTest::keyClicks(line, "wi");
    QTest::keyClick(line, Qt::Key_Tab);
    EXPECT_EQ(line->text(), QStringLiteral("grabimage width="));
}

TEST_F(WindowCommands, LogIsFilteredByLevelAndText)
{
    openSample();
    window().getConsole()->submit(QString("grabimage filename=\"%1\" width=200").arg(file("a.png")));
    ASSERT_TRUE(waitForNoRuns());
    window().getConsole()->submit(QString("grabimage filename=\"%1\" width=1").arg(file("b.png")));
    ASSERT_TRUE(waitForNoRuns());
    auto* view = window().getConsole()->findChild<QListView*>("LogView");
    const auto shown = [&](const QString& text) {
        for (int row = 0; row < view->model()->rowCount(); ++row)
            if (view->model()->index(row, 0).data().toString().contains(text))
                return true;
        return false;
    };
    ASSERT_TRUE(processUntil([&] { return shown("Image saved to") && shown("size is to small!"); }));
    auto* level = window().getConsole()->findChild<QComboBox*>("LevelFilter");
    level->setCurrentIndex(level->count() - 1);
    EXPECT_FALSE(shown("Image saved to"));
    EXPECT_TRUE(shown("size is to small!"));
    view->selectAll();
    view->setFocus();
    for (QAction* action : view->actions())
        if (action->text() == QLatin1String("Copy"))
            action->trigger();
    EXPECT_TRUE(QApplication::clipboard()->text().contains("size is to small!"));
    EXPECT_FALSE(QApplication::clipboard()->text().contains("Image saved to"));
}

TEST_F(WindowCommands, SettingsAreChangedByTheirDialog)
{
    triggerWithDialog(menuAction("Grab", "Video settings"), "ParameterDialog", [&](QWidget* dialog) {
        auto* slider = dialog->findChild<QSlider*>();
        ASSERT_NE(slider, nullptr);
        QTest::keyClick(slider, Qt::Key_End);
        QTest::keyClick(dialog, Qt::Key_Return);
    });
    ASSERT_TRUE(waitForNoRuns());
    const QStringList keys = tovSettings().allKeys();
    EXPECT_TRUE(keys.contains("settings/grabvideofps")) << keys.join(" ").toStdString();
    EXPECT_TRUE(keys.contains("settings/grabvideokbps"));
}

TEST_F(WindowCommands, ViewIsCopiedToTheClipboardAsItIsShown)
{
    openSample();
    auto* panel = window().getPanelGrid()->getActivePanel();
    QSignalSpy copied(&window(), &tov::viewer::MainWindow::viewCopied);
    menuAction("File", "Copy view to clipboard")->trigger();
    ASSERT_TRUE(processUntil([&] { return copied.count() == 1; }));
    const QImage image = QApplication::clipboard()->image();
    ASSERT_EQ(image.size(), QSize(panel->width(), panel->height()) * panel->devicePixelRatioF());
    const QImage shown = panel->grabFramebuffer();
    ASSERT_EQ(shown.size(), image.size());
    EXPECT_EQ(pictureDifference(image, shown), "");
    // Tests the comparison: it detects a slightly turned view, a missing object, and an empty picture.
    panel->orbit(3, 0);
    EXPECT_NE(pictureDifference(image, panel->grabFramebuffer()), "");
    panel->orbit(-3, 0);
    ASSERT_EQ(pictureDifference(image, panel->grabFramebuffer()), "");
    auto* carrier = Viewer::getInstance()->getGlobalScene()->getRootNode()->find(QStringLiteral("carrier"));
    ASSERT_NE(carrier, nullptr);
    carrier->setVisible(false);
    EXPECT_NE(pictureDifference(image, panel->grabFramebuffer()), "");
    carrier->setVisible(true);
    QImage blank(image.size(), image.format());
    blank.fill(image.pixel(0, 0));
    EXPECT_NE(pictureDifference(blank, shown), "");
    EXPECT_NE(pictureDifference(blank, blank), "");
}

TEST_F(WindowCommands, AFailedPictureIsReportedWithItsReason)
{
    openSample();
    window().getConsole()->submit(QString("grabimage filename=\"%1\" width=1").arg(file("small.png")));
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(noticeContains("Nothing was written to small.png"));
    EXPECT_TRUE(noticeContains("size is to small!"));
}

TEST_F(WindowCommands, CommandsAreDisabledWhileThereIsNoView)
{
    window().getPanelGrid()->closeAll();
    ASSERT_TRUE(processUntil(
        [this] { return !menuAction("Grab", "Image")->isEnabled() && !menuAction("Grab", "Video")->isEnabled(); }));
    EXPECT_TRUE(menuAction("Grab", "Video settings")->isEnabled());
    menuAction("View", "One view")->trigger();
    EXPECT_TRUE(processUntil(
        [this] { return menuAction("Grab", "Image")->isEnabled() && menuAction("Grab", "Video")->isEnabled(); }));
}

TEST_F(WindowCommands, SceneChangesWaitForALargePicture)
{
    openSample();
    auto* tree = window().findChild<QTreeWidget*>("SceneTree");
    ASSERT_GT(tree->topLevelItemCount(), 0);
    window().getConsole()->submit(QString("grabimage filename=\"%1\" width=6000").arg(file("large.png")));
    ASSERT_TRUE(processUntil([] { return runs().empty() || runs().front()->getText() == "Building tiles"; }));
    ASSERT_FALSE(runs().empty()) << "the picture was finished too early for this test";
    tree->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    EXPECT_FALSE(runs().empty()) << "the window was blocked until the picture was done";
    ASSERT_TRUE(waitForNoRuns());
    auto* panel = window().getPanelGrid()->getActivePanel();
    EXPECT_TRUE(processUntil([&] { return !showsSomething(panel->grabFramebuffer()); }))
        << "the element was not hidden after the picture";
}

TEST_F(WindowCommands, ConsoleErrorsAreErrorsAndComeBeforeThePicture)
{
    openSample();
    auto* console = window().getConsole();
    const auto last = [&](int role) {
        return console->getModel()->data(console->getModel()->index(console->getModel()->rowCount() - 1), role);
    };
    console->submit(QString("grabimage filename=\"%1\" width=10000").arg(file("absent/large.png")));
    EXPECT_TRUE(runs().empty()) << "a picture that cannot be written is drawn";
    EXPECT_TRUE(last(Qt::DisplayRole).toString().contains("there is no folder"));
    EXPECT_LE(last(tov::viewer::LogModel::LevelRole).toInt(), int(tov::log::LevelError));
    console->submit(QString("grabimage \"%1\" 10000").arg(file("absent/large.png")));
    EXPECT_TRUE(runs().empty());
    console->submit("nonsense");
    EXPECT_LE(last(tov::viewer::LogModel::LevelRole).toInt(), int(tov::log::LevelError));
    console->submit("grabimage");
    ASSERT_TRUE(waitForNoRuns());
    bool named = false;
    for (int row = 0; row < console->getModel()->rowCount(); ++row) {
        const QModelIndex index = console->getModel()->index(row);
        named = named || (index.data().toString().contains("filename") &&
                          index.data(tov::viewer::LogModel::LevelRole).toInt() <= int(tov::log::LevelError));
    }
    EXPECT_TRUE(named) << "the missing argument is named";
}

TEST_F(WindowCommands, TheCompletionListDoesNotCoverTheLine)
{
    auto* line = window().getConsole()->getCommandLine();
    line->setFocus();
    QTest::keyClicks(line, "grab");
    QTest::keyClick(line, Qt::Key_Tab);
    auto* list = line->findChild<QLabel*>("CompletionList");
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->isVisible());
    EXPECT_TRUE(list->text().contains("grabimage") && list->text().contains("grabvideo"));
    EXPECT_FALSE(QRect(line->mapToGlobal(QPoint()), line->size()).intersects(list->geometry()));
    QTest::keyClicks(line, "i");
    EXPECT_FALSE(list->isVisible());
}

TEST_F(WindowCommands, InformationDisappearsByItselfAndWarningsStay)
{
    auto* notices = window().getNotices();
    notices->setLifetime(20);
    notices->showMessage(tov::viewer::NoticeBar::Kind::Information, "leaves");
    notices->showMessage(tov::viewer::NoticeBar::Kind::Warning, "stays");
    notices->showMessage(tov::viewer::NoticeBar::Kind::Warning, "stays");
    EXPECT_EQ(notices->getTexts(), QStringList({"leaves", "stays"}));
    EXPECT_TRUE(processUntil([&] { return notices->getTexts() == QStringList("stays"); }));
}

TEST_F(WindowCommands, AntiAliasingChangesAtOnce)
{
    openSample();
    const int before = tov::scene::SceneDrawer::getMultisampling();
    triggerWithDialog(menuAction("File", "Preferences"), "PreferencesDialog", [&](QWidget* dialog) {
        auto* samples = dialog->findChild<QComboBox*>("Samples");
        ASSERT_NE(samples, nullptr);
        EXPECT_EQ(samples->currentData().toInt(), before) << "the dialog shows the values in use";
        samples->setCurrentIndex(samples->findData(before == 8 ? 2 : 8));
        dialog->close();
    });
    EXPECT_EQ(tov::scene::SceneDrawer::getMultisampling(), before == 8 ? 2 : 8);
    tov::scene::SceneDrawer::setMultisampling(before);
}

TEST_F(WindowCommands, TheWindowsOwnTextsUseOneVocabulary)
{
    // A view is not a panel, and only the module's own menu speaks of grabbing.
    const auto check = [](const QString& text) {
        EXPECT_FALSE(text.contains("panel", Qt::CaseInsensitive)) << text.toStdString();
        EXPECT_FALSE(text.contains("grab", Qt::CaseInsensitive)) << text.toStdString();
    };
    int texts = 0;
    for (const QAction* top : window().menuBar()->actions()) {
        if (!top->menu() || top->text().remove('&') == "Grab")
            continue;
        for (const QAction* action : top->menu()->actions()) {
            check(action->text());
            ++texts;
        }
    }
    EXPECT_GT(texts, 30);
    for (const auto* bar : window().findChildren<QToolBar*>())
        if (bar->objectName() == "CaptureBar" || bar->inherits("tov::viewer::TrajectoryBar"))
            for (const auto* child : bar->findChildren<QWidget*>())
                check(child->toolTip());
    triggerWithDialog(window().findChild<QAction*>("ShortcutsAction"), "ShortcutsDialog", [&](QWidget* dialog) {
        const auto* tree = dialog->findChild<QTreeWidget*>();
        for (int row = 0; row < tree->topLevelItemCount(); ++row)
            check(tree->topLevelItem(row)->text(0));
        dialog->close();
    });
}
