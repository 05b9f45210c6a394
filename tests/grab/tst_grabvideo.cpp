#include "grab/commands/grabvideo.h"

#include "grab/video/videoencoder.h"
#include "kernel/events/eventhandler.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/view/viewer.h"
#include "tests/grab/videofixture.h"
#include "tests/support/markingtranslator.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QMetaMethod>
#include <QSemaphore>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

using tov::commands::grab::GrabVideo;
using tov::main::CommandArguments;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::main::ParameterSet;
using tov::scene::Viewer;
using tov::test::processUntil;

namespace {

class GrabVideoTest : public tov::test::VideoFixture
{
protected:
    void SetUp() override
    {
        VideoFixture::SetUp();
        mp_Processor = Overseer::getInstance()->getCommandProcessor();
        mp_Prototype = dynamic_cast<GrabVideo*>(GrabVideo::create());
        ASSERT_TRUE(mp_Prototype);
        mp_Processor->addPrimaryCommand(mp_Prototype, GrabVideo::create);
    }
    void TearDown() override
    {
        mp_Processor->removePrimaryCommand(mp_Prototype);
        mp_Processor->destroyCommand(mp_Prototype);
        VideoFixture::TearDown();
    }

    tov::gui::ScenePanel* activePanel(int width = 160, int height = 120)
    {
        auto* panel = newPanel(width, height);
        Viewer::getInstance()->setActivePanel(panel);
        return panel;
    }
    CommandRunPointer start(const QString& name, const QString& rest)
    {
        QString error;
        const auto run = mp_Processor->start(QStringLiteral("grabvideo filename=\"%1\" %2").arg(name, rest), &error);
        EXPECT_TRUE(run) << error.toStdString();
        return run;
    }
    /// A copy of the prototype for a free-running recording of 32 x 16 pixels.
    std::unique_ptr<tov::main::Command> freeRecorder(const QString& name)
    {
        std::unique_ptr<tov::main::Command> copy(mp_Prototype->clone());
        CommandArguments arguments;
        arguments.positional = QStringList{name, "32", "16", "0"};
        EXPECT_TRUE(copy->setParameters(arguments, nullptr));
        return copy;
    }
    /// Runs the command on another thread and waits for its end.
    void execute(tov::main::Command& command)
    {
        std::atomic<bool> done{false};
        std::thread thread([&] {
            command.execute();
            done = true;
        });
        EXPECT_TRUE(processUntil([&] { return done.load(); }));
        thread.join();
    }
    bool finish(const CommandRunPointer& run)
    {
        return processUntil([&] { return run->isFinished(); }, 60000);
    }
    bool framesTaken(int count, int width, int height)
    {
        // The encoder has idle priority, so this may take long on a loaded machine.
        return processUntil([&] { return m_Journal.totalSize() >= qint64(count) * width * height * 4; }, 60000);
    }
    /// Expects exactly one record of that text, with these fields.
    void expectRecord(const QString& message, int level, int line)
    {
        const auto records = m_Log.withMessage(message);
        ASSERT_EQ(records.size(), 1u) << m_Log.text();
        EXPECT_EQ(records[0].level, level);
        EXPECT_EQ(records[0].line, line);
        EXPECT_EQ(records[0].file, "commands/grabvideo");
        EXPECT_EQ(records[0].function, "execute");
        EXPECT_TRUE(records[0].category.isEmpty());
    }

    CommandProcessor* mp_Processor = nullptr;
    GrabVideo* mp_Prototype = nullptr;
};

} // namespace

TEST_F(GrabVideoTest, DescribesItself)
{
    EXPECT_STREQ(GrabVideo::CommandName, "grabvideo");
    EXPECT_TRUE(GrabVideo::m_Registered);
    EXPECT_EQ(mp_Prototype->getDescriptor()->getName(), "grabvideo");
    EXPECT_EQ(mp_Prototype->getDescriptor()->getDescription(), "Grabs a video of the active view");
    const auto* gui = mp_Prototype->getGUIDescriptor();
    ASSERT_TRUE(gui);
    EXPECT_EQ(gui->getFlag(), 1);
    EXPECT_EQ(gui->getGroup(), "Grab");
    EXPECT_EQ(gui->getPosition().value(), 20);
    EXPECT_EQ(gui->getCommandName(), "grabvideo");
    EXPECT_EQ(gui->getLabel(), "Video");
    ASSERT_TRUE(gui->getIcon());
    const QImage icon = gui->getIcon()->pixmap(512, 512).toImage();
    EXPECT_FALSE(icon.isNull());
    EXPECT_EQ(icon, QIcon(QStringLiteral(":/module_grab/image/grabvideo.png")).pixmap(512, 512).toImage());
    EXPECT_NE(icon, QIcon(QStringLiteral(":/module_grab/image/grabscene.png")).pixmap(512, 512).toImage());
    ASSERT_EQ(mp_Prototype->getParameterSets().size(), 1u);
    const ParameterSet* set = mp_Prototype->getParameterSets()[0];
    EXPECT_EQ(set->getId(), 0);
    ASSERT_EQ(set->size(), 4u);
    const char* const rows[4][2] = {
        {"filename", "Filename to save video"},
        {"width", "Width of the video (0=window-width)"},
        {"height", "Height of the video (0=window-height)"},
        {"sync", "If enabled (0=true, 1=false) then the grabbing will be synced with the collisionpath steps"}};
    const std::type_info* const types[4] = {&typeid(QString), &typeid(int), &typeid(int), &typeid(bool)};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(set->at(i)->getName(), rows[i][0]);
        EXPECT_EQ(set->at(i)->getDescription(), rows[i][1]);
        EXPECT_TRUE(*set->at(i)->getType() == *types[i]);
    }
    EXPECT_TRUE(set->at(0)->getDefaultParameterForDefaultGUI().isNull());
    EXPECT_EQ(set->at(1)->getDefaultParameterForDefaultGUI(), "0");
    EXPECT_EQ(set->at(2)->getDefaultParameterForDefaultGUI(), "0");
    EXPECT_EQ(set->at(3)->getDefaultParameterForDefaultGUI(), "1");
    EXPECT_TRUE(set->at(0)->getParameterPanelFactory());
}

TEST_F(GrabVideoTest, TheMetaObjectHasBothBases)
{
    const QMetaObject& meta = GrabVideo::staticMetaObject;
    EXPECT_STREQ(meta.className(), "tov::commands::grab::GrabVideo");
    EXPECT_TRUE(mp_Prototype->qt_metacast("tov::main::Command"));
    EXPECT_EQ(mp_Prototype->qt_metacast("tov::main::Command"), static_cast<tov::main::Command*>(mp_Prototype));
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(mp_Prototype)), static_cast<void*>(mp_Prototype));
    const char* const slots_[3] = {"grabbingPanelClosed()", "grabbingFinished()", "progressChanged(int)"};
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(meta.method(meta.methodOffset() + i).methodSignature(), slots_[i]);
        EXPECT_EQ(meta.method(meta.methodOffset() + i).methodType(), QMetaMethod::Slot);
    }
}

TEST_F(GrabVideoTest, TheEndOfTheCaptureCallsTheVirtualAbortAndProgressIsPassedOn)
{
    struct Counting : GrabVideo
    {
        void abort() override { ++aborts; }
        int aborts = 0;
    } command;
    ASSERT_TRUE(QMetaObject::invokeMethod(&command, "grabbingFinished", Qt::DirectConnection));
    EXPECT_EQ(command.aborts, 1);
    for (const int value : {0, 42, 100, -1}) {
        ASSERT_TRUE(QMetaObject::invokeMethod(&command, "progressChanged", Qt::DirectConnection, Q_ARG(int, value)));
        EXPECT_EQ(command.getProcessed(), value);
    }
}

TEST_F(GrabVideoTest, AStopAfterThePanelWasClosedKeepsTheRecording)
{
    // A stop clears the flag that the closed panel has set: the later call wins.
    setChunks(0, true);
    activePanel();
    const QString name = file("both.raw");
    const auto copy = freeRecorder(name);
    auto* recorder = dynamic_cast<GrabVideo*>(copy.get());
    ASSERT_TRUE(QMetaObject::invokeMethod(recorder, "grabbingPanelClosed", Qt::DirectConnection));
    copy->abort();
    execute(*copy);
    expectRecord(QStringLiteral("Video '%1' encoding done").arg(name), 3000, 295);
    EXPECT_FALSE(m_Log.contains(QStringLiteral("Video grabbing aborted")));
}

namespace {

/// The classes of the objects whose signals are connected to this object.
QStringList sendersOf(const QObject& object)
{
    static QStringList senders;
    senders.clear();
    const auto before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
        const QString line = text.trimmed();
        if (line.startsWith(QLatin1String("<-- ")))
            senders << line.section(QLatin1Char(' '), 1, 1).section(QStringLiteral("::"), 0, -2);
    });
    object.dumpObjectInfo();
    qInstallMessageHandler(before);
    senders.removeDuplicates();
    senders.sort();
    return senders;
}

} // namespace

TEST_F(GrabVideoTest, AStopDisconnectsThePanelAndAClosedPanelTheHandler)
{
    const QString panelClass = QStringLiteral("tov::gui::ScenePanel");
    const QString handlerClass = QStringLiteral("tov::grab::VideoHandler");
    setChunks(0, true);
    activePanel();
    for (const bool stops : {true, false}) {
        const auto copy = freeRecorder(file("let.raw"));
        auto* recorder = dynamic_cast<GrabVideo*>(copy.get());
        {
            std::lock_guard<std::mutex> guard(m_Journal.mutex);
            m_Journal.chunks.clear();
        }
        copy->updateProcessed(50);
        std::atomic<bool> done{false};
        std::thread command([&] {
            copy->execute();
            done = true;
        });
        EXPECT_TRUE(framesTaken(1, 32, 16));
        EXPECT_EQ(copy->getProcessed(), -1);
        EXPECT_EQ(sendersOf(*recorder), (QStringList{handlerClass, panelClass}));
        // The command continues only when this thread runs its next worker.
        if (stops)
            recorder->abort();
        else
            EXPECT_TRUE(QMetaObject::invokeMethod(recorder, "grabbingPanelClosed", Qt::DirectConnection));
        EXPECT_EQ(sendersOf(*recorder), QStringList{stops ? handlerClass : panelClass});
        EXPECT_TRUE(processUntil([&] { return done.load(); }));
        command.join();
        EXPECT_TRUE(sendersOf(*recorder).isEmpty());
        EXPECT_EQ(QFileInfo::exists(file("let.raw")), stops);
        QFile::remove(file("let.raw"));
    }
}

TEST_F(GrabVideoTest, FollowsTheActivePanel)
{
    EXPECT_TRUE(mp_Prototype->isDisabled());
    auto* panel = activePanel();
    EXPECT_FALSE(mp_Prototype->isDisabled());
    Viewer::getInstance()->setActivePanel(nullptr);
    EXPECT_TRUE(mp_Prototype->isDisabled());
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_FALSE(mp_Prototype->isDisabled());
    Viewer::getInstance()->closePanel(panel);
    EXPECT_TRUE(mp_Prototype->isDisabled());
}

TEST_F(GrabVideoTest, ACloneIsEnabledAndItsOriginIsDisabled)
{
    activePanel();
    std::unique_ptr<tov::main::Command> copy(mp_Prototype->clone());
    ASSERT_TRUE(dynamic_cast<GrabVideo*>(copy.get()));
    EXPECT_TRUE(mp_Prototype->isDisabled());
    EXPECT_FALSE(copy->isDisabled());
    // The copy does not follow the active panel; the prototype does.
    Viewer::getInstance()->setActivePanel(nullptr);
    EXPECT_FALSE(copy->isDisabled());
    EXPECT_TRUE(mp_Prototype->isDisabled());
}

TEST_F(GrabVideoTest, RecordsATrajectoryFromEndToEnd)
{
    auto* panel = activePanel();
    selectPoints(4);
    const QString name = file("walk.raw");
    const auto run = start(name, QStringLiteral("width=32 height=16 sync=1"));
    ASSERT_TRUE(finish(run));
    EXPECT_TRUE(run->succeeded());
    EXPECT_EQ(QFileInfo(name).size(), 4 * 32 * 16 * 4);
    expectRecord(QStringLiteral("Video encoding started"), 4000, 292);
    expectRecord(QStringLiteral("Video '%1' encoding done").arg(name), 3000, 295);
    EXPECT_EQ(run->getText(), "Video encoding started");
    EXPECT_EQ(m_Journal.captureThread, "SyncedGrabber");
    EXPECT_FALSE(mp_Prototype->isDisabled());
    EXPECT_EQ(tovSettings().value(QStringLiteral("lastGrabVideoDirectory")).toString(), QFileInfo(name).absolutePath());
    Viewer::getInstance()->closePanel(panel);
}

TEST_F(GrabVideoTest, ZeroByZeroIsThePanelsSize)
{
    activePanel(150, 90);
    selectPoints(1);
    ASSERT_TRUE(finish(start(file("zero.raw"), QStringLiteral("width=0 height=0 sync=1"))));
    EXPECT_EQ(m_Journal.width, 150);
    EXPECT_EQ(m_Journal.height, 90);
}

TEST_F(GrabVideoTest, SizesOf1To15AreTooSmall)
{
    activePanel();
    for (const char* size : {"width=15 height=16", "width=16 height=15", "width=1 height=0", "width=0 height=1"}) {
        m_Log.clear();
        selectPoints(1);
        ASSERT_TRUE(finish(start(file("small.raw"), QString::fromLatin1(size) + QStringLiteral(" sync=1"))));
        expectRecord(QStringLiteral("Selected width or height is to small (min. 16)"), 2000, 219);
        EXPECT_FALSE(mp_Prototype->isDisabled());
        EXPECT_FALSE(QFileInfo::exists(file("small.raw")));
        EXPECT_FALSE(tovSettings().contains(QStringLiteral("lastGrabVideoDirectory")));
    }
    for (const char* size : {"width=16 height=16", "width=-1 height=16", "width=-2147483648 height=16"}) {
        m_Log.clear();
        selectPoints(1);
        ASSERT_TRUE(finish(start(file("passes.raw"), QString::fromLatin1(size) + QStringLiteral(" sync=1"))));
        EXPECT_FALSE(m_Log.contains(QStringLiteral("Selected width or height is to small (min. 16)")));
        expectRecord(QStringLiteral("Video '%1' encoding done").arg(file("passes.raw")), 3000, 295);
    }
}

TEST_F(GrabVideoTest, EveryParameterFailureHasItsLineNumber)
{
    const int lines[4] = {185, 192, 199, 206};
    for (std::size_t missing = 0; missing < 4; ++missing) {
        m_Log.clear();
        activePanel();
        std::unique_ptr<tov::main::Command> copy(mp_Prototype->clone());
        CommandArguments arguments;
        arguments.positional = QStringList{file("p.raw"), "32", "32", "0"};
        ASSERT_TRUE(copy->setParameters(arguments, nullptr));
        copy->getCurrentParameterSet()->at(missing)->deleteValue();
        ASSERT_TRUE(mp_Prototype->isDisabled());
        copy->execute();
        expectRecord(QStringLiteral("Parameter failure"), 4000, lines[missing]);
        EXPECT_FALSE(mp_Prototype->isDisabled());
    }
}

TEST_F(GrabVideoTest, AShortListIsARangeError)
{
    // A command whose only set has the right identifier but too few entries.
    GrabVideo command;
    auto* set =
        const_cast<std::vector<tov::main::AbstractParameter*>*>(&command.getCurrentParameterSet()->getParameters());
    std::unique_ptr<tov::main::AbstractParameter> last(set->back());
    set->pop_back();
    CommandArguments arguments;
    arguments.positional = QStringList{file("short.raw"), "32", "32"};
    ASSERT_TRUE(command.setParameters(arguments, nullptr));
    EXPECT_THROW(command.execute(), std::out_of_range);
}

TEST_F(GrabVideoTest, OtherParameterSetsAreIgnored)
{
    activePanel();
    GrabVideo command;
    command.addParameterSet(new ParameterSet(5));
    command.setCurrentParameterSetId(5);
    m_Log.clear();
    command.execute();
    EXPECT_TRUE(m_Log.records().empty()) << m_Log.text();
}

TEST_F(GrabVideoTest, WithoutAPanelItIsRefused)
{
    auto* panel = activePanel();
    std::unique_ptr<tov::main::Command> copy(mp_Prototype->clone());
    CommandArguments arguments;
    arguments.positional = QStringList{file("p.raw"), "32", "32", "0"};
    ASSERT_TRUE(copy->setParameters(arguments, nullptr));
    Viewer::getInstance()->closePanel(panel);
    mp_Prototype->disableCommand(true);
    copy->execute();
    expectRecord(QStringLiteral("There is no active scene window selected"), 2000, 226);
    EXPECT_FALSE(mp_Prototype->isDisabled());
    EXPECT_FALSE(QFileInfo::exists(file("p.raw")));
    EXPECT_FALSE(tovSettings().contains(QStringLiteral("lastGrabVideoDirectory")));
}

TEST_F(GrabVideoTest, OnePanelIsRecordedOnceAndTwoAtTheSameTime)
{
    setChunks(0, true);
    auto* first = activePanel();
    const auto one = start(file("one.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(1, 32, 16));
    EXPECT_TRUE(mp_Prototype->isDisabled());
    // The processor refuses a disabled command; the command itself refuses as well.
    mp_Prototype->disableCommand(false);
    const auto again = start(file("again.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(finish(again));
    expectRecord(QStringLiteral("Video grabbing is currently running on that scene window"), 2000, 232);
    EXPECT_FALSE(one->isFinished());
    EXPECT_FALSE(QFileInfo::exists(file("again.raw")));

    auto* second = activePanel();
    EXPECT_FALSE(mp_Prototype->isDisabled());
    const auto two = start(file("two.raw"), QStringLiteral("width=48 height=16 sync=0"));
    ASSERT_TRUE(processUntil([&] { return QFileInfo::exists(file("two.raw")); }));
    EXPECT_TRUE(mp_Prototype->isDisabled());
    Viewer::getInstance()->setActivePanel(first);
    EXPECT_TRUE(mp_Prototype->isDisabled());
    ASSERT_TRUE(framesTaken(6, 32, 16));
    one->stop();
    ASSERT_TRUE(finish(one));
    EXPECT_FALSE(mp_Prototype->isDisabled()) << "its panel is the active one again";
    EXPECT_FALSE(two->isFinished());
    Viewer::getInstance()->setActivePanel(second);
    EXPECT_TRUE(mp_Prototype->isDisabled());
    two->stop();
    ASSERT_TRUE(finish(two));
    EXPECT_FALSE(mp_Prototype->isDisabled());
    for (const char* name : {"one.raw", "two.raw"}) {
        EXPECT_EQ(m_Log.withMessage(QStringLiteral("Video '%1' encoding done").arg(file(QLatin1String(name)))).size(),
                  1u);
        EXPECT_TRUE(QFileInfo::exists(file(QLatin1String(name))));
    }
}

TEST_F(GrabVideoTest, FourFailingEncodersDoNotAffectEachOther)
{
    setChunks(0, true);
    // One refuses, one fails at its first chunk, one throws at its second, one blocks at its second.
    tov::test::EncoderJournal journals[4];
    const char* const endings[] = {"refusing", "failing", "throwing", "held"};
    QSemaphore gate;
    std::atomic<int> thrown{0}, arrived{0};
    journals[0].refuse = true;
    journals[1].fail = true;
    journals[2].onChunk = [&](const tov::test::SeenChunk&) {
        if (++thrown == 2)
            throw std::runtime_error("no more");
    };
    journals[3].onChunk = [&](const tov::test::SeenChunk&) {
        if (++arrived == 2)
            gate.acquire();
    };
    auto* registry = tov::grab::video::VideoEncoder::getInstance();
    std::vector<CommandRunPointer> runs;
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(registry->registerEncoder(tov::test::CollectingEncoder::create, QLatin1String(endings[i]),
                                              QLatin1String(endings[i]), &journals[i]));
        activePanel();
        runs.push_back(
            start(file(QStringLiteral("a.") + QLatin1String(endings[i])), QStringLiteral("width=32 height=16 sync=0")));
        ASSERT_TRUE(runs.back());
        ASSERT_TRUE(processUntil([&] { return !journals[i].callsSeen().empty(); })) << endings[i];
    }
    ASSERT_TRUE(
        processUntil([&] { return thrown.load() == 2 && arrived.load() == 2 && !journals[1].seen().empty(); }, 60000));
    // A good one at the same time.
    activePanel();
    const auto good = start(file("good.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(3, 32, 16));
    good->stop();
    EXPECT_TRUE(finish(good));
    for (const auto& run : runs)
        run->stop();
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(finish(runs[std::size_t(i)])) << endings[i];
    EXPECT_FALSE(runs[3]->isFinished());
    gate.release();
    EXPECT_TRUE(finish(runs[3]));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(journals[i].callsSeen().back(), "finish") << endings[i];
        EXPECT_EQ(journals[i].living, 0) << endings[i];
    }
    const qint64 frame = 32 * 16 * 4;
    EXPECT_TRUE(journals[0].seen().empty());
    EXPECT_EQ(journals[1].seen().size(), 1u);
    EXPECT_EQ(journals[2].seen().size(), 2u);
    EXPECT_GT(journals[3].seen().size(), 2u) << "the queued chunks are encoded when it continues";
    for (const auto& journal : {&journals[3], &m_Journal}) {
        EXPECT_GE(journal->totalSize(), frame);
        EXPECT_EQ(journal->totalSize() % frame, 0);
    }
    EXPECT_EQ(QFileInfo(file("a.held")).size(), journals[3].totalSize());
    EXPECT_EQ(QFileInfo(file("good.raw")).size(), m_Journal.totalSize());
}

TEST_F(GrabVideoTest, TheEndOfARecordingEnablesTheCommandOnlyForTheActivePanel)
{
    setChunks(0, true);
    activePanel();
    const auto one = start(file("one.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(1, 32, 16));
    Viewer::getInstance()->setActivePanel(nullptr);
    one->stop();
    ASSERT_TRUE(finish(one));
    EXPECT_TRUE(mp_Prototype->isDisabled()) << "there is no active panel";
    // Also disabled while the active panel is being recorded.
    activePanel();
    const auto two = start(file("two.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(processUntil([&] { return QFileInfo::exists(file("two.raw")); }));
    auto* third = activePanel();
    const auto three = start(file("three.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(processUntil([&] { return QFileInfo::exists(file("three.raw")); }));
    two->stop();
    ASSERT_TRUE(finish(two));
    EXPECT_TRUE(mp_Prototype->isDisabled());
    Viewer::getInstance()->closePanel(third);
    ASSERT_TRUE(finish(three));
}

TEST_F(GrabVideoTest, AStopByTheUserKeepsTheCapturedFrames)
{
    setChunks(0, true);
    activePanel();
    const QString name = file("stopped.raw");
    const auto run = start(name, QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(2, 32, 16));
    EXPECT_EQ(run->getText(), "RAW-Video grabbing started");
    EXPECT_EQ(run->getProcessed(), -1);
    EXPECT_EQ(m_Journal.captureThread, "Grabber");
    run->stop();
    ASSERT_TRUE(finish(run));
    EXPECT_GE(QFileInfo(name).size(), 2 * 32 * 16 * 4);
    EXPECT_EQ(QFileInfo(name).size(), m_Journal.totalSize());
    EXPECT_EQ(m_Journal.aborted, 0);
}

TEST_F(GrabVideoTest, AClosedPanelAbortsTheRecording)
{
    setChunks(0, true);
    auto* panel = activePanel();
    const QString name = file("closed.raw");
    const auto run = start(name, QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(1, 32, 16));
    Viewer::getInstance()->closePanel(panel);
    ASSERT_TRUE(finish(run));
    expectRecord(QStringLiteral("Video grabbing aborted"), 3000, 287);
    EXPECT_TRUE(m_Log.withMessage(QStringLiteral("Video encoding started")).empty());
    EXPECT_FALSE(QFileInfo::exists(name));
    EXPECT_EQ(m_Journal.aborted, 1);
}

TEST_F(GrabVideoTest, AFailedStartFreesThePanel)
{
    activePanel();
    const QString name = file("clip.unknown");
    const auto run = start(name, QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(finish(run));
    EXPECT_TRUE(m_Log.contains(QStringLiteral("No encoder for file '%1' found").arg(name)));
    EXPECT_TRUE(m_Log.withMessage(QStringLiteral("Video encoding started")).empty());
    EXPECT_FALSE(mp_Prototype->isDisabled());
    EXPECT_EQ(tovSettings().value(QStringLiteral("lastGrabVideoDirectory")).toString(), m_Folder.path());
    selectPoints(1);
    ASSERT_TRUE(finish(start(file("then.raw"), QStringLiteral("width=32 height=16 sync=1"))));
    EXPECT_EQ(QFileInfo(file("then.raw")).size(), 32 * 16 * 4);
}

TEST_F(GrabVideoTest, ProgressIsReportedBeforeTheStart)
{
    // A start that fails shows it, because a recording reports progress as well.
    activePanel();
    const auto copy = freeRecorder(file("clip.unknown"));
    copy->updateProcessed(50);
    execute(*copy);
    EXPECT_EQ(copy->getProcessed(), -1);
    EXPECT_EQ(copy->getText(), "RAW-Video grabbing started");
}

TEST_F(GrabVideoTest, ARecordingWhoseFirstChunkFailsEndsWhenItIsStopped)
{
    setChunks(50, false);
    qputenv("TMPDIR", "/proc/self");
    activePanel();
    const auto run = start(file("first.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(processUntil([&] { return m_Log.contains(QStringLiteral("Couldn't open temporary file")); }));
    EXPECT_FALSE(run->isFinished());
    run->stop();
    ASSERT_TRUE(finish(run));
    EXPECT_EQ(m_Journal.callsSeen(), std::vector<std::string>{"finish"});
}

TEST_F(GrabVideoTest, AStopBeforeTheBeginningIsNotLost)
{
    setChunks(0, true);
    activePanel();
    const QString name = file("early.raw");
    const auto copy = freeRecorder(name);
    copy->abort();
    execute(*copy);
    expectRecord(QStringLiteral("Video '%1' encoding done").arg(name), 3000, 295);
    // After the end a stop does nothing.
    copy->abort();
}

TEST_F(GrabVideoTest, AStopAfterTheEndDoesNotEndTheNextRun)
{
    setChunks(0, true);
    activePanel();
    const auto copy = freeRecorder(file("first.raw"));
    copy->abort();
    execute(*copy);
    copy->abort(); // too late
    {
        std::lock_guard<std::mutex> guard(m_Journal.mutex);
        m_Journal.chunks.clear();
    }
    std::atomic<bool> done{false};
    std::thread thread([&] {
        copy->execute();
        done = true;
    });
    EXPECT_TRUE(framesTaken(3, 32, 16));
    EXPECT_FALSE(done);
    EXPECT_EQ(m_Log.withMessage(QStringLiteral("Video encoding started")).size(), 1u) << "of the first run";
    copy->abort();
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    thread.join();
}

TEST_F(GrabVideoTest, ARefusedThreadLeavesTheCommandUsable)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer has its own thread creation";
#endif
    activePanel();
    const QString name = file("refused.raw");
    tov::test::faults::refusedThread = "SyncedGrabber";
    selectPoints(2);
    ASSERT_TRUE(finish(start(name, QStringLiteral("width=32 height=16 sync=1"))));
    tov::test::faults::refusedThread = nullptr;
    ASSERT_EQ(m_Log.records().size(), 1u) << m_Log.text();
    EXPECT_EQ(m_Log.records()[0].message, QStringLiteral("There is no thread to record video '%1' with").arg(name));
    EXPECT_EQ(m_Log.records()[0].level, 2000);
    EXPECT_FALSE(QFileInfo::exists(name));
    EXPECT_FALSE(mp_Prototype->isDisabled());
    ASSERT_TRUE(finish(start(name, QStringLiteral("width=32 height=16 sync=1"))));
    EXPECT_EQ(QFileInfo(name).size(), 2 * 32 * 16 * 4);
}

TEST_F(GrabVideoTest, APanelCanBeRecordedAgainWhileItsFirstVideoIsEncoded)
{
    activePanel();
    selectPoints(1);
    QSemaphore gate;
    std::atomic<int> arrived{0};
    m_Journal.onChunk = [&](const tov::test::SeenChunk&) {
        if (++arrived == 1)
            gate.acquire();
    };
    const auto first = start(file("first.raw"), QStringLiteral("width=32 height=16 sync=1"));
    ASSERT_TRUE(processUntil([&] { return arrived == 1 && !mp_Prototype->isDisabled(); }));
    EXPECT_FALSE(first->isFinished());
    selectPoints(1);
    const auto second = start(file("second.raw"), QStringLiteral("width=32 height=16 sync=1"));
    EXPECT_TRUE(finish(second));
    EXPECT_FALSE(first->isFinished()) << "its encoder is still held";
    EXPECT_EQ(QFileInfo(file("second.raw")).size(), 32 * 16 * 4);
    gate.release();
    EXPECT_TRUE(finish(first));
    EXPECT_EQ(QFileInfo(file("first.raw")).size(), 32 * 16 * 4);
}

TEST_F(GrabVideoTest, TextsAreTranslatedExceptOne)
{
    const tov::test::MarkingTranslator marker;
    {
        GrabVideo translated;
        EXPECT_EQ(translated.getGUIDescriptor()->getGroup(), "tr:Grab");
        EXPECT_EQ(translated.getGUIDescriptor()->getLabel(), "tr:Video");
        EXPECT_EQ(translated.getDescriptor()->getDescription(), "Grabs a video of the active view");
        const ParameterSet* set = translated.getCurrentParameterSet();
        EXPECT_EQ(set->at(0)->getDescription(), "tr:Filename to save video");
        EXPECT_EQ(set->at(3)->getDescription(), "tr:If enabled (0=true, 1=false) then the grabbing will be synced with "
                                                "the collisionpath steps");
        std::unique_ptr<QFileDialog> dialog(translated.createSaveDialog());
        EXPECT_EQ(dialog->windowTitle(), "tr:Save Video");
    }
    auto copy = freeRecorder(file("t.raw"));
    copy->getCurrentParameterSet()->at(1)->deleteValue();
    copy->execute();
    expectRecord(QStringLiteral("tr:Parameter failure"), 4000, 192);
    copy = freeRecorder(file("t.raw"));
    execute(*copy);
    expectRecord(QStringLiteral("tr:There is no active scene window selected"), 2000, 226);
    auto* panel = activePanel();
    ASSERT_TRUE(finish(start(file("t.raw"), QStringLiteral("width=15 height=16 sync=0"))));
    EXPECT_TRUE(m_Log.contains(QStringLiteral("tr:Selected width or height is to small (min. 16)")));
    setChunks(0, true);
    const auto run = start(file("t.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(1, 32, 16));
    EXPECT_EQ(run->getText(), "tr:RAW-Video grabbing started");
    mp_Prototype->disableCommand(false);
    ASSERT_TRUE(finish(start(file("u.raw"), QStringLiteral("width=32 height=16 sync=0"))));
    expectRecord(QStringLiteral("Video grabbing is currently running on that scene window"), 2000, 232);
    run->stop();
    ASSERT_TRUE(finish(run));
    EXPECT_EQ(run->getText(), "tr:Video encoding started");
    expectRecord(QStringLiteral("tr:Video encoding started"), 4000, 292);
    expectRecord(QStringLiteral("tr:Video '%1' encoding done").arg(file("t.raw")), 3000, 295);
    Viewer::getInstance()->setActivePanel(panel);
    const auto closed = start(file("c.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(processUntil([&] { return QFileInfo::exists(file("c.raw")); }));
    Viewer::getInstance()->closePanel(panel);
    ASSERT_TRUE(finish(closed));
    expectRecord(QStringLiteral("tr:Video grabbing aborted"), 3000, 287);
}

TEST_F(GrabVideoTest, FiltersAreFilledInSequence)
{
    ASSERT_TRUE(tov::grab::video::VideoEncoder::getInstance()->registerEncoder(
        tov::test::CollectingEncoder::create, QStringLiteral("avi"), QStringLiteral("Take %2"), &m_Journal));
    std::unique_ptr<QFileDialog> dialog(mp_Prototype->createSaveDialog());
    EXPECT_EQ(dialog->nameFilters(), (QStringList{"Take avi (*.avi)", "Raw frames (*.raw)"}));
}

TEST_F(GrabVideoTest, ThePanelIsForgottenByTheApplicationThread)
{
    setChunks(0, true);
    activePanel();
    const auto copy = freeRecorder(file("turn.raw"));
    std::atomic<int> id{0};
    std::atomic<bool> done{false};
    std::thread thread([&] {
        id = tov::test::threadId();
        copy->execute();
        done = true;
    });
    ASSERT_TRUE(framesTaken(1, 32, 16));
    ASSERT_TRUE(processUntil([&] { return tov::test::threadState(id) == 'S'; }));
    // From here on the application thread runs no workers: the command wakes up and has to wait.
    const long before = tov::test::threadSleeps(id);
    copy->abort();
    while (tov::test::threadSleeps(id) == before || tov::test::threadState(id) != 'S')
        std::this_thread::yield();
    EXPECT_FALSE(m_Log.contains(QStringLiteral("Video encoding started"))) << "the panel has not been forgotten yet";
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    thread.join();
    EXPECT_TRUE(m_Log.contains(QStringLiteral("Video encoding started")));
}

TEST_F(GrabVideoTest, TheApplicationThreadStaysFreeWhileARecordingRuns)
{
    setChunks(0, true);
    activePanel();
    const auto run = start(file("free.raw"), QStringLiteral("width=32 height=16 sync=0"));
    ASSERT_TRUE(framesTaken(1, 32, 16));
    int turns = 0;
    ASSERT_TRUE(processUntil([&] { return ++turns > 50; }));
    EXPECT_FALSE(run->isFinished());
    run->stop();
    ASSERT_TRUE(finish(run));
}

TEST_F(GrabVideoTest, TheSaveDialogOffersTheLoadedFormats)
{
    auto* registry = tov::grab::video::VideoEncoder::getInstance();
    ASSERT_TRUE(registry->registerEncoder(tov::test::CollectingEncoder::create, QStringLiteral("Avi"),
                                          QStringLiteral("Old films"), &m_Journal));
    tovSettings().setValue(QStringLiteral("lastGrabVideoDirectory"), m_Folder.path());
    std::unique_ptr<QFileDialog> dialog(mp_Prototype->createSaveDialog());
    EXPECT_EQ(dialog->windowTitle(), "Save Video");
    EXPECT_EQ(dialog->nameFilters(), (QStringList{"Old films (*.avi)", "Raw frames (*.raw)"}));
    EXPECT_EQ(dialog->defaultSuffix(), "avi");
    EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
    EXPECT_EQ(dialog->fileMode(), QFileDialog::AnyFile);
    EXPECT_EQ(dialog->directory().absolutePath(), QFileInfo(m_Folder.path()).absoluteFilePath());
    EXPECT_EQ(dialog->parent(), nullptr);
}

TEST_F(GrabVideoTest, AnEmptyEncoderListGivesADialogWithoutFiltersAndSuffix)
{
    tov::grab::video::VideoEncoder::getInstance()->unloadPlugins();
    std::unique_ptr<QFileDialog> dialog(mp_Prototype->createSaveDialog());
    EXPECT_TRUE(dialog->defaultSuffix().isEmpty());
    for (const QString& filter : dialog->nameFilters())
        EXPECT_FALSE(filter.contains(QLatin1String("*."))) << filter.toStdString();
}

TEST(GrabVideoDeathTest, ACommandThatCannotBeClonedEndsTheProcess)
{
    // No processor knows its name, so the base class makes no copy.
    EXPECT_DEATH({ GrabVideo().clone(); }, "");
}
