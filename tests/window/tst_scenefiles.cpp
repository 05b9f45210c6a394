// Scene files in the window: save, open, ask, restore after a crash, reload of changed models.

#include "app/common/scenefile.h"
#include "app/viewer/autosave.h"
#include "app/viewer/consolewidget.h"
#include "app/viewer/lookpanel.h"
#include "app/viewer/modelreload.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/partedits.h"
#include "app/viewer/recentfiles.h"
#include "app/viewer/scenesession.h"
#include "app/viewer/scenetree.h"
#include "app/viewer/viewbookmarks.h"
#include "app/viewer/windowmenus.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QComboBox>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>

#include <cstdio>

using namespace tov::test;
using tov::scene::SceneDrawer;
using tov::scene::SceneLook;
using tov::trajectory::TrajectoryHandler;
using tov::viewer::SceneDocument;

namespace {

class WindowScenes : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        for (const char* name : {"crane.obj", "crane.mtl", "arm.gltf"})
            ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_SOURCE_DIR "/samples/") + QLatin1String(name), file(name)));
    }
    void TearDown() override
    {
        SceneLook usual;
        usual.samples = SceneDrawer::getLook().samples;
        SceneDrawer::setLook(usual);
        SceneDrawer::setBackgroundColor(m_Background);
        WindowTest::TearDown();
    }
    SceneDocument& document() { return *window().getSession()->getDocument(); }
    tov::gui::ScenePanel* panel() { return window().getPanelGrid()->getActivePanel(); }
    void open(const QStringList& names)
    {
        window().openFiles(names);
        ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    }
    /// As the next start of the program: an empty scene in a new window.
    void startAgain()
    {
        restart();
        tov::scene::Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
        TrajectoryHandler::getInstance()->selectMode(TrajectoryHandler::ModeNone);
        SceneDrawer::setLook(SceneLook());
    }
    QTreeWidgetItem* item(const QString& name)
    {
        const auto found = window().getSceneTree()->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? nullptr : found.first();
    }
    void select(const QString& name)
    {
        window().getSceneTree()->clearSelection();
        ASSERT_NE(item(name), nullptr) << name.toStdString();
        window().getSceneTree()->setCurrentItem(item(name));
    }
    void write(const QString& name, const QByteArray& text)
    {
        QFile out(name);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(text);
    }
    QByteArray read(const QString& name)
    {
        QFile in(name);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << name.toStdString();
        return in.readAll();
    }
    /// The number of pixels that differ; -1 for pictures of different sizes.
    static int countDifferent(const QImage& a, const QImage& b)
    {
        int count = a.size() == b.size() ? 0 : -1;
        for (int y = 0; count >= 0 && y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                count += a.pixel(x, y) != b.pixel(x, y);
        return count;
    }
    /// Waits until the document has compared the scene with its file.
    bool becomes(bool isModified)
    {
        return processUntil([&] { return document().isModified() == isModified; }) &&
               window().isWindowModified() == isModified;
    }
    void answer(QMessageBox::StandardButton button)
    {
        onDialog("SaveQuestion",
                 [button](QWidget* dialog) { static_cast<QMessageBox*>(dialog)->button(button)->click(); });
    }

private:
    const QColor m_Background = SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
};

} // namespace

TEST_F(WindowScenes, ASavedSceneIsTheSameToThePixelInANewWindow)
{
    open({file("crane.obj"), file("arm.gltf")});
    window().showViews(2);
    select("floor");
    window().getSceneTree()->hideSelected();
    select("beam");
    window().findChild<QAction*>("RemoveAction")->trigger();
    SceneLook look = SceneDrawer::getLook();
    look.light = SceneLook::Light::Headlight;
    look.show = SceneLook::Show::SurfaceWithEdges;
    look.exposure = 1.5;
    SceneDrawer::setLook(look);
    SceneDrawer::setBackgroundColor(QColor(10, 20, 60));
    panel()->orbit(33, 21);
    panel()->zoom(1.7);
    panel()->setFieldOfView(25);
    window().getMenus()->getBookmarks()->add();
    QString error;
    ASSERT_TRUE(TrajectoryHandler::getInstance()->selectTurntable(24, &error)) << error.toStdString();
    TrajectoryHandler::getInstance()->setPosition(5);
    window().getPanelGrid()->getPanels()[1]->setFollowsTrajectory(false);
    window().getPanelGrid()->getPanels()[1]->setOrthographic(true);
    ASSERT_TRUE(processUntil([this] { return !item("beam"); }));
    std::vector<QImage> before;
    for (auto* view : window().getPanelGrid()->getPanels())
        before.push_back(view->grabFramebuffer());
    ASSERT_TRUE(showsSomething(before[0]));
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("scene.tovscene[*] - tov"));

    startAgain();
    open({file("scene.tovscene")});
    const auto& views = window().getPanelGrid()->getPanels();
    ASSERT_EQ(views.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(countDifferent(views[i]->grabFramebuffer(), before[i]), 0) << "view " << i;
    EXPECT_EQ(TrajectoryHandler::getInstance()->getCount(), 24u);
    EXPECT_EQ(TrajectoryHandler::getInstance()->getPosition(), 5u);
    EXPECT_FALSE(views[1]->followsTrajectory());
    EXPECT_EQ(window().getMenus()->getBookmarks()->getCount(), 1u);
    EXPECT_EQ(item("beam"), nullptr);
    ASSERT_NE(item("floor"), nullptr);
    EXPECT_EQ(item("floor")->checkState(0), Qt::Unchecked);
    EXPECT_EQ(window().getLookPanel()->findChild<QComboBox*>("Light")->currentData().toInt(),
              int(SceneLook::Light::Headlight));
    EXPECT_TRUE(window().getNotices()->getTexts().isEmpty());
    // Opened and saved again, the file is the same.
    const QByteArray text = read(file("scene.tovscene"));
    ASSERT_TRUE(document().saveTo(file("again.tovscene")));
    EXPECT_TRUE(read(file("again.tovscene")) == text);
}

TEST_F(WindowScenes, TheCommandLineDrawsTheSceneOfTheWindow)
{
    open({file("crane.obj")});
    panel()->orbit(33, 21);
    select("beam");
    window().getSceneTree()->hideSelected();
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    window().getConsole()->submit(QStringLiteral("grabimage filename=\"%1\" width=400").arg(file("window.png")));
    ASSERT_TRUE(waitForNoRuns());
    const QImage shown = QImage(file("window.png")).convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(shown.width(), 400);
    QProcess program;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOV_SETTINGS"), file("settings.ini"));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(TOV_BINARY_DIR "/bin/tov"),
                  {"image", file("scene.tovscene"), "-o", file("a.png"), "--size",
                   QStringLiteral("%1x%2").arg(QString::number(shown.width()), QString::number(shown.height()))});
    ASSERT_TRUE(program.waitForFinished(60000));
    EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().constData();
    const QImage picture = QImage(file("a.png")).convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(picture.size(), shown.size());
    EXPECT_EQ(countDifferent(shown, picture), 0);
}

TEST_F(WindowScenes, ChangesAreMarkedAndAskedForOnlyIfThereIsASceneFile)
{
    open({file("crane.obj")});
    panel()->orbit(10, 0);
    EXPECT_TRUE(document().mayDiscard()) << "a model that is only viewed needs no question";
    triggerWithDialog(menuAction("File", "Save scene"), "SaveSceneDialog", [this](QWidget* dialog) {
        auto* edit = dialog->findChild<QLineEdit*>();
        EXPECT_EQ(edit->text(), QStringLiteral("crane.tovscene"));
        edit->setText(file("mine"));
        QTest::keyClick(edit, Qt::Key_Return);
    });
    ASSERT_TRUE(QFile::exists(file("mine.tovscene"))) << "the suffix is added";
    EXPECT_FALSE(window().isWindowModified());
    EXPECT_EQ(window().getModelName(), QStringLiteral("mine"));
    TrajectoryHandler::getInstance()->setPosition(0);
    panel()->orbit(10, 0);
    ASSERT_TRUE(becomes(true));
    const QByteArray first = read(file("mine.tovscene"));
    answer(QMessageBox::Cancel);
    EXPECT_FALSE(window().close());
    answer(QMessageBox::Save);
    EXPECT_TRUE(window().close());
    EXPECT_NE(read(file("mine.tovscene")), first);
    restart();
    // An undone change is no change.
    open({file("mine.tovscene")});
    select("floor");
    window().getSceneTree()->hideSelected();
    ASSERT_TRUE(becomes(true));
    window().findChild<QAction*>("UndoAction")->trigger();
    ASSERT_TRUE(becomes(false));
    EXPECT_TRUE(window().close());
}

TEST_F(WindowScenes, BadSceneFilesAreRefusedAndNothingChanges)
{
    open({file("crane.obj")});
    const QImage before = panel()->grabFramebuffer();
    struct
    {
        QByteArray text;
        QString expected;
    } rows[] = {
        {"{\"format\": \"tov scene\", \"version\": 7}", "it has version 7"},
        {"{\"format\": \"tov sc", "line 1"},
        {"{\"format\": \"tov scene\", \"version\": 1, \"views\": 1000000000}", "views must be a list"},
        {"{\"format\": \"tov scene\", \"version\": 1, \"models\": [{\"file\": \"absent %1.obj\"}]}",
         file("absent %1.obj")},
    };
    for (const auto& row : rows) {
        write(file("bad.tovscene"), row.text);
        open({file("bad.tovscene")});
        const QStringList notices = window().getNotices()->getTexts();
        ASSERT_FALSE(notices.isEmpty()) << row.text.constData();
        EXPECT_TRUE(notices.last().contains(row.expected)) << notices.last().toStdString();
        EXPECT_FALSE(notices.last().contains(QLatin1Char('\n')));
        EXPECT_TRUE(panel()->grabFramebuffer() == before);
        EXPECT_EQ(window().windowTitle(), QStringLiteral("crane.obj - tov"));
        EXPECT_EQ(document().getFileName(), QString());
    }
}

TEST_F(WindowScenes, AMissingModelIsNamedAndNotLostWhenTheSceneIsSaved)
{
    open({file("crane.obj"), file("arm.gltf")});
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    ASSERT_TRUE(QFile::remove(file("crane.obj")));
    startAgain();
    open({file("scene.tovscene")});
    EXPECT_TRUE(noticeContains(file("crane.obj")));
    EXPECT_EQ(window().getSceneTree()->topLevelItemCount(), 1);
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    EXPECT_TRUE(read(file("scene.tovscene")).contains("\"crane.obj\""));
}

TEST_F(WindowScenes, ANameWithAnotherSuffixGetsThatOfScenes)
{
    open({file("crane.obj")});
    triggerWithDialog(menuAction("File", "Save scene as ..."), "SaveSceneDialog", [this](QWidget* dialog) {
        auto* edit = dialog->findChild<QLineEdit*>();
        edit->setText(file("version.2"));
        QTest::keyClick(edit, Qt::Key_Return);
    });
    EXPECT_FALSE(QFile::exists(file("version.2")));
    EXPECT_EQ(document().getFileName(), file("version.2.tovscene"));
}

TEST_F(WindowScenes, ASceneIsARecentFileAndOpensByDropping)
{
    open({file("crane.obj")});
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    EXPECT_EQ(tov::viewer::RecentFiles::getFiles().first(), file("scene.tovscene"));
    EXPECT_TRUE(QFile::exists(tov::viewer::RecentFiles::getThumbnailFile(file("scene.tovscene"))));
    startAgain();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file("scene.tovscene"))});
    QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &enter);
    QDropEvent drop(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window(), &drop);
    ASSERT_TRUE(processUntil([this] { return !window().isOpening() && !document().getFileName().isEmpty(); }));
    EXPECT_EQ(window().getSceneTree()->topLevelItemCount(), 1);
    open({file("scene.tovscene"), file("arm.gltf")});
    EXPECT_TRUE(noticeContains("Open a scene file alone"));
}

TEST_F(WindowScenes, TheSessionOfACrashIsOfferedAndRestored)
{
    auto* autosave = window().getSession()->getAutosave();
    autosave->setDelay(10);
    QSignalSpy stored(autosave, &tov::viewer::Autosave::stored);
    open({file("crane.obj")});
    panel()->orbit(33, 21);
    select("floor");
    window().getSceneTree()->hideSelected();
    ASSERT_TRUE(processUntil([&] {
        return QFile::exists(autosave->getFileName()) && read(autosave->getFileName()).contains("\"hidden\"");
    }));
    const QImage before = panel()->grabFramebuffer();
    // What a crash leaves behind: the copy, and the lock of a process that does not exist any more.
    const QString copy = QFileInfo(autosave->getFileName()).dir().filePath("session-999999999-1.tovscene");
    ASSERT_TRUE(QFile::copy(autosave->getFileName(), copy));
    write(copy + ".lock", "999999999\ntov\n" + QSysInfo::machineHostName().toUtf8() + "\n");

    const QString own = autosave->getFileName();
    startAgain();
    EXPECT_FALSE(QFile::exists(own)) << "a window that is closed removes its copy";
    EXPECT_TRUE(window().getNotices()->getTexts().isEmpty());
    window().getSession()->getAutosave()->offerCrashed();
    auto* button = window().getNotices()->findChild<QPushButton*>("NoticeAction");
    ASSERT_NE(button, nullptr);
    button->click();
    ASSERT_TRUE(processUntil([this] { return !window().isOpening() && item("floor"); }));
    EXPECT_EQ(item("floor")->checkState(0), Qt::Unchecked);
    EXPECT_TRUE(panel()->grabFramebuffer() == before);
    EXPECT_EQ(document().getFileName(), QString()) << "it had no file";
    restart();
    EXPECT_FALSE(QFile::exists(copy)) << "it was restored, and the window was closed";
}

TEST_F(WindowScenes, TheSessionOfAnotherWindowIsLeftAlone)
{
    auto* autosave = window().getSession()->getAutosave();
    autosave->setDelay(10);
    open({file("crane.obj")});
    ASSERT_TRUE(processUntil([&] { return QFile::exists(autosave->getFileName()); }));
    {
        tov::viewer::MainWindow second(nullptr);
        EXPECT_NE(second.getSession()->getAutosave()->getFileName(), autosave->getFileName());
        second.getSession()->getAutosave()->offerCrashed();
        EXPECT_TRUE(second.getNotices()->getTexts().isEmpty());
    }
    EXPECT_TRUE(QFile::exists(autosave->getFileName()));
}

TEST_F(WindowScenes, ARestoredSceneKeepsItsFileAndIsModified)
{
    open({file("crane.obj")});
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    auto scene = document().collect();
    scene.origin = document().getFileName();
    QString error;
    ASSERT_TRUE(scene.save(file("copy.tovscene"), &error)) << error.toStdString();
    startAgain();
    document().restore(file("copy.tovscene"));
    ASSERT_TRUE(processUntil([this] { return !window().isOpening() && !document().getFileName().isEmpty(); }));
    EXPECT_EQ(document().getFileName(), file("scene.tovscene"));
    EXPECT_TRUE(document().isModified());
    answer(QMessageBox::Discard);
    EXPECT_TRUE(window().close());
}

TEST_F(WindowScenes, RestoringAsksBeforeChangesAreLost)
{
    open({file("crane.obj")});
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    ASSERT_TRUE(QFile::copy(file("scene.tovscene"), file("copy.tovscene")));
    panel()->orbit(10, 0);
    ASSERT_TRUE(becomes(true));
    answer(QMessageBox::Cancel);
    EXPECT_FALSE(document().restore(file("copy.tovscene")));
    EXPECT_FALSE(window().isOpening());
    EXPECT_EQ(document().getFileName(), file("scene.tovscene"));
    answer(QMessageBox::Discard);
    EXPECT_TRUE(document().restore(file("copy.tovscene")));
    ASSERT_TRUE(processUntil([this] { return !window().isOpening() && document().getFileName().isEmpty(); }));
}

TEST_F(WindowScenes, AWindowThatStaysOpenAfterAllAsksAgainBeforeItStopsARecording)
{
    open({file("crane.obj")});
    ASSERT_TRUE(document().saveTo(file("scene.tovscene")));
    panel()->orbit(10, 0);
    ASSERT_TRUE(becomes(true));
    ASSERT_TRUE(record(file("first.mp4")));
    onDialog("QuitQuestion", [](QWidget* question) { button(question, "Finish and quit")->click(); });
    bool isRefused = false;
    onDialog("SaveQuestion", [&](QWidget* question) {
        static_cast<QMessageBox*>(question)->button(QMessageBox::Cancel)->click();
        isRefused = true;
    });
    window().close();
    ASSERT_TRUE(processUntil([&] { return isRefused && !QApplication::activeModalWidget(); }, 60000));
    EXPECT_TRUE(window().isVisible());

    ASSERT_TRUE(record(file("second.mp4")));
    bool isAsked = false;
    onDialog("QuitQuestion", [&](QWidget* question) {
        isAsked = true;
        QTest::keyClick(question, Qt::Key_Escape);
    });
    EXPECT_FALSE(window().close());
    EXPECT_TRUE(isAsked);
    ASSERT_EQ(runs().size(), 1u);
    runs().front()->stop();
    ASSERT_TRUE(processUntil([] { return runs().empty(); }, 60000));
    answer(QMessageBox::Discard);
    EXPECT_TRUE(processUntil([this] { return window().close(); }, 60000));
}

TEST_F(WindowScenes, AChangedModelIsReadAgain)
{
    open({file("crane.obj")});
    auto* reload = window().getSession()->getReload();
    reload->setPause(20);
    QSignalSpy reloaded(reload, &tov::viewer::ModelReload::reloaded);
    QSignalSpy failed(reload, &tov::viewer::ModelReload::failed);
    panel()->orbit(33, 21);
    select("floor");
    window().getSceneTree()->hideSelected();
    select("beam");
    window().findChild<QAction*>("RemoveAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return !item("beam"); }));
    const auto camera = panel()->getCamera();
    const QByteArray text = read(file("crane.obj"));

    // Written in place, with a new part.
    write(file("crane.obj"), text + "\no mast\nv 0 0 0\nv 1 0 0\nv 0 9 0\nf -3 -2 -1\n");
    ASSERT_TRUE(processUntil([&] { return reloaded.count() == 1 && item("mast"); }));
    EXPECT_EQ(item("floor")->checkState(0), Qt::Unchecked);
    EXPECT_EQ(item("beam"), nullptr);
    EXPECT_EQ(panel()->getCamera().target, camera.target);
    EXPECT_EQ(panel()->getCamera().distance, camera.distance);
    // The removal can still be undone.
    window().findChild<QAction*>("UndoAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return item("beam"); }));

    // Damaged: the old model stays.
    write(file("crane.obj"), "v 0 0 0\nf 1 2 3\n");
    ASSERT_TRUE(processUntil([&] { return failed.count() == 1; }));
    EXPECT_TRUE(noticeContains("the model stays as it was"));
    EXPECT_NE(item("mast"), nullptr);

    // Replaced by rename.
    write(file("new.obj"), text);
    ASSERT_EQ(std::rename(file("new.obj").toUtf8().constData(), file("crane.obj").toUtf8().constData()), 0);
    ASSERT_TRUE(processUntil([&] { return reloaded.count() == 2 && !item("mast"); }));
    EXPECT_EQ(item("floor")->checkState(0), Qt::Unchecked);
    // And once more, because the new file is watched, too.
    write(file("crane.obj"), text + "\no mast\nv 0 0 0\nv 1 0 0\nv 0 9 0\nf -3 -2 -1\n");
    ASSERT_TRUE(processUntil([&] { return reloaded.count() == 3 && item("mast"); }));
}

TEST_F(WindowScenes, AReloadWaitsForARecording)
{
    open({file("crane.obj")});
    auto* reload = window().getSession()->getReload();
    reload->setPause(20);
    QSignalSpy reloaded(reload, &tov::viewer::ModelReload::reloaded);
    QSignalSpy postponed(reload, &tov::viewer::ModelReload::postponed);
    ASSERT_TRUE(record(file("a.mp4")));
    write(file("crane.obj"), read(file("crane.obj")) + "\no mast\nv 0 0 0\nv 1 0 0\nv 0 9 0\nf -3 -2 -1\n");
    ASSERT_TRUE(processUntil([&] { return postponed.count() > 0; }));
    EXPECT_EQ(reloaded.count(), 0);
    EXPECT_EQ(item("mast"), nullptr);
    runs().front()->stop();
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_TRUE(processUntil([&] { return reloaded.count() == 1 && item("mast"); }));
    EXPECT_GT(countFrames(file("a.mp4")), 0);
}

TEST_F(WindowScenes, F5ReadsAnAnimatedModelAgainAndKeepsItsPosition)
{
    open({file("arm.gltf")});
    auto* handler = TrajectoryHandler::getInstance();
    QString error;
    tov::trajectory::PlaybackOptions options;
    ASSERT_TRUE(handler->selectAnimation("lift", options, &error)) << error.toStdString();
    ASSERT_GT(handler->getCount(), 10u);
    handler->setPosition(10);
    const QImage before = panel()->grabFramebuffer();
    QSignalSpy reloaded(window().getSession()->getReload(), &tov::viewer::ModelReload::reloaded);
    QTest::keyClick(&window(), Qt::Key_F5);
    ASSERT_TRUE(processUntil([&] { return reloaded.count() == 1; }));
    EXPECT_EQ(handler->getPosition(), 10u);
    EXPECT_TRUE(processUntil([&] { return panel()->grabFramebuffer() == before; }));
}
