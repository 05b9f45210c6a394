// Opening models and trajectories: by menu, by the list of recent files, by dropping them.

#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/recentfiles.h"
#include "app/viewer/scenetree.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/support/pictures.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>

using namespace tov::test;
using tov::trajectory::TrajectoryHandler;

namespace {

class WindowOpen : public WindowTest
{
protected:
    void drop(const QList<QUrl>& urls)
    {
        QMimeData data;
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window(), &enter);
        ASSERT_TRUE(enter.isAccepted());
        QDropEvent drop(QPointF(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window(), &drop);
        ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    }

    QString bad(const QString& name, const QByteArray& content)
    {
        QFile out(file(name));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(content);
        return out.fileName();
    }

    /// A model that takes long enough to be stopped.
    QString largeModel()
    {
        QByteArray text;
        for (int i = 0; i < 600000; ++i)
            text += "v " + QByteArray::number(i % 977) + ' ' + QByteArray::number(i % 571) + " 0\n";
        for (int i = 1; i + 2 < 600000; ++i)
            text +=
                "f " + QByteArray::number(i) + ' ' + QByteArray::number(i + 1) + ' ' + QByteArray::number(i + 2) + '\n';
        return bad("large.obj", text);
    }

    static QString sample(const char* name) { return QStringLiteral(TOV_SOURCE_DIR "/samples/") + QLatin1String(name); }
};

} // namespace

TEST_F(WindowOpen, MenuOpensAModelThatIsThenSeen)
{
    auto* panel = window().getPanelGrid()->getActivePanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(showsSomething(panel->grabFramebuffer())) << "an empty scene shows something";
    triggerWithDialog(menuAction("File", "Open ..."), "QFileDialog", [this](QWidget* dialog) {
        auto* edit = dialog->findChild<QLineEdit*>();
        edit->setText(sample("crane.obj"));
        QTest::keyClick(edit, Qt::Key_Return);
    });
    ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    EXPECT_GT(window().getSceneTree()->topLevelItemCount(), 0);
    EXPECT_TRUE(showsSomething(panel->grabFramebuffer()));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("crane.obj - tov"));
    EXPECT_TRUE(window().getNotices()->getTexts().isEmpty());
}

TEST_F(WindowOpen, DroppedModelAndTrajectoryAreBothOpened)
{
    drop({QUrl::fromLocalFile(sample("crane.obj")), QUrl::fromLocalFile(sample("flight.tum"))});
    EXPECT_GT(window().getSceneTree()->topLevelItemCount(), 0);
    EXPECT_GT(TrajectoryHandler::getInstance()->getCount(), 0u);
}

TEST_F(WindowOpen, DroppedTextFileOfPosesIsATrajectory)
{
    ASSERT_TRUE(QFile::copy(sample("flight.tum"), file("flight.txt")));
    drop({QUrl::fromLocalFile(file("flight.txt"))});
    EXPECT_GT(TrajectoryHandler::getInstance()->getCount(), 0u);
    EXPECT_TRUE(window().getNotices()->getTexts().isEmpty());
}

TEST_F(WindowOpen, BadFilesAreReportedAndTheSceneStays)
{
    drop({QUrl::fromLocalFile(sample("crane.obj"))});
    const int elements = window().getSceneTree()->topLevelItemCount();
    struct
    {
        QUrl url;
        QString expected;
    } rows[] = {
        {QUrl::fromLocalFile(file("absent.obj")), "absent.obj"},
        {QUrl::fromLocalFile(bad("empty.obj", "")), "empty.obj"},
        {QUrl::fromLocalFile(bad("noise.ply", "ply\nformat binary_little_endian 1.0\nelement vertex 4294967295\n")),
         "noise.ply"},
        {QUrl::fromLocalFile(bad("text.stl", "this is no model")), "text.stl"},
        {QUrl::fromLocalFile(bad("what.xyz123", "1")), "what.xyz123"},
        {QUrl::fromLocalFile(bad("way.csv", "1,2\n")), "way.csv"},
        {QUrl::fromLocalFile(bad("way.json", "[{]")), "way.json"},
        {QUrl::fromLocalFile(file(".")), ""},
        {QUrl("http://localhost/model.obj"), "local files"},
    };
    for (const auto& row : rows) {
        drop({row.url});
        const QStringList notices = window().getNotices()->getTexts();
        ASSERT_FALSE(notices.isEmpty()) << row.url.toString().toStdString();
        EXPECT_TRUE(notices.last().contains(row.expected))
            << row.url.toString().toStdString() << ": " << notices.last().toStdString();
        EXPECT_EQ(window().getSceneTree()->topLevelItemCount(), elements);
        EXPECT_EQ(TrajectoryHandler::getInstance()->getCount(), 0u);
    }
    EXPECT_EQ(tov::viewer::RecentFiles::getFiles().size(), 1) << "a file that could not be opened is not a recent file";
}

TEST_F(WindowOpen, TheDesktopListsOpenedFilesUntilTheListIsCleared)
{
    const QString list = QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME")) + QStringLiteral("/recently-used.xbel");
    const auto content = [&list] {
        QFile stored(list);
        return stored.open(QIODevice::ReadOnly) ? stored.readAll() : QByteArray();
    };
    QFile::remove(list);
    const QString model = file("100% of a model.obj");
    ASSERT_TRUE(QFile::copy(sample("crane.obj"), model));
    drop({QUrl::fromLocalFile(model)});
    EXPECT_TRUE(content().contains(QUrl::fromLocalFile(model).toEncoded())) << content().constData();
    EXPECT_TRUE(content().contains("application name=\"tov\" exec=\"&apos;tov %u&apos;\"")) << content().constData();
    emit window().getRecentFiles()->aboutToShow();
    window().getRecentFiles()->actions().last()->trigger();
    EXPECT_FALSE(content().contains("100%25")) << content().constData();
    // A list that is not readable belongs to other programs as well, and is left unchanged.
    QFile other(list);
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("not a list");
    other.close();
    drop({QUrl::fromLocalFile(model)});
    EXPECT_EQ(content(), "not a list");
    QFile::remove(list);
}

TEST_F(WindowOpen, RecentFilesKeepAThumbnailAndOpenAgain)
{
    QSignalSpy stored(window().getRecentFiles(), &tov::viewer::RecentFiles::thumbnailStored);
    openSample();
    ASSERT_TRUE(processUntil([&] { return stored.count() == 1; }));
    const QImage picture(tov::viewer::RecentFiles::getThumbnailFile(sample("crane.obj")));
    ASSERT_FALSE(picture.isNull());
    EXPECT_EQ(std::max(picture.width(), picture.height()), 128);
    EXPECT_TRUE(showsSomething(picture));

    restart();
    auto* menu = window().getRecentFiles();
    emit menu->aboutToShow();
    ASSERT_FALSE(menu->actions().isEmpty());
    EXPECT_EQ(menu->actions().first()->text(), QStringLiteral("crane.obj"));
    EXPECT_FALSE(menu->actions().first()->icon().isNull());
    menu->actions().first()->trigger();
    ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("crane.obj - tov"));
}

TEST_F(WindowOpen, OpeningCanBeStopped)
{
    window().openFiles({largeModel()});
    ASSERT_TRUE(window().isOpening());
    window().cancelOpening();
    ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    EXPECT_EQ(window().getSceneTree()->topLevelItemCount(), 0);
    EXPECT_TRUE(window().getNotices()->getTexts().isEmpty()) << "a stop is not a failure";
}

TEST_F(WindowOpen, ASignalWhileLoadingClosesTheWindowWithoutAQuestion)
{
    window().openFiles({largeModel()});
    ASSERT_TRUE(window().isOpening());
    window().quitWithoutAsking();
    EXPECT_TRUE(processUntil([this] { return !window().isVisible(); }, 60000));
    EXPECT_FALSE(window().isOpening());
}

TEST_F(WindowOpen, ASignalClosesAQuestionThatIsOpen)
{
    window().openFiles({largeModel()});
    ASSERT_TRUE(window().isOpening());
    onDialog("QuitQuestion", [this](QWidget*) { window().quitWithoutAsking(); });
    window().close();
    EXPECT_TRUE(processUntil([this] { return !window().isVisible(); }, 60000));
}

TEST_F(WindowOpen, AModelOpensAtTheFirstPositionOfItsTrajectory)
{
    for (const char* trajectory : {"crane.json", "flight.tum"}) {
        restart();
        tov::scene::Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
        auto* handler = TrajectoryHandler::getInstance();
        handler->selectMode(TrajectoryHandler::ModeNone);
        window().openFiles({sample("crane.obj"), sample(trajectory)});
        ASSERT_TRUE(processUntil([&] { return !window().isOpening() && handler->getCount() > 0; }));
        auto* view = window().getPanelGrid()->getActivePanel();
        const QImage opened = view->grabFramebuffer();
        handler->setPosition(1);
        handler->setPosition(0);
        EXPECT_EQ(pictureDifference(opened, view->grabFramebuffer()), "") << trajectory;
    }
}

TEST_F(WindowOpen, ASmallPictureShowsTheFilesOwnModelAndIsNotARun)
{
    openSample("crane.obj");
    const QImage crane(tov::viewer::RecentFiles::getThumbnailFile(sample("crane.obj")));
    QSignalSpy began(tov::main::Overseer::getInstance()->getCommandProcessor(),
                     &tov::main::CommandProcessor::runStarted);
    QFile::remove(tov::viewer::RecentFiles::getThumbnailFile(sample("crane.obj")));
    // A large model is already in the scene; the second thumbnail is the same as the first.
    window().openFiles({bad("wall.obj", "v 0 0 0\nv 1000 0 0\nv 0 1000 0\nf 1 2 3\n")});
    ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    openSample("crane.obj");
    const QImage again(tov::viewer::RecentFiles::getThumbnailFile(sample("crane.obj")));
    ASSERT_FALSE(crane.isNull());
    EXPECT_EQ(crane, again);
    EXPECT_EQ(began.count(), 0) << "a job that the user did not start";
    EXPECT_TRUE(window().windowTitle().startsWith("crane.obj and 2 more")) << window().windowTitle().toStdString();
}
