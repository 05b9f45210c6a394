#include "kernel/commands/commandprocessor.h"

#include "kernel/commands/functioncommand.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/castclassmanager.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/commands/settingscommand.h"
#include "tests/kernel/hooks.h"
#include "tests/support/logcapture.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QSignalSpy>
#include <QThread>

#include <boost/bind/bind.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace tov::main;
using tov::test::LogCapture;
using tov::test::processUntil;
namespace hooks = tov::test::hooks;

namespace {

std::atomic<int> alive{0};
std::atomic<int> aborts{0};
std::atomic<int> executed{0};
QSemaphore* gate = nullptr;
std::atomic<QThread*> lastThread{nullptr};
std::mutex lastMutex; ///< guards the next two, which parallel runs write
QString lastText;
int lastNumber = 0;

/// Waits at the gate, which `abort` opens.
class Probe : public Command
{
public:
    Probe() : Command(new CommandDescriptor(QStringLiteral("probe"), QStringLiteral("Tests the processor")), nullptr)
    {
        ++alive;
        auto* set = new ParameterSet(3);
        set->addParameter(new Parameter<QString>(QStringLiteral("text"), QStringLiteral("d")));
        auto* number = new Parameter<int>(QStringLiteral("number"), QStringLiteral("d"));
        number->setDefaultParameterForDefaultGUI(QStringLiteral("7"));
        set->addParameter(number);
        addParameterSet(set);
    }
    ~Probe() override { --alive; }
    static Command* create() { return new Probe; }
    void execute() override
    {
        lastThread = QThread::currentThread();
        const QString text = getCurrentParameterSet()->at(0)->toString();
        {
            std::lock_guard<std::mutex> guard(lastMutex);
            lastText = text;
            lastNumber = getCurrentParameterSet()->at(1)->toString().toInt();
        }
        updateText(QStringLiteral("at the gate"));
        updateProcessed(40);
        if (gate)
            gate->acquire();
        ++executed;
        if (text == QLatin1String("throw"))
            throw std::runtime_error("thrown on purpose");
    }
    void abort() override
    {
        EXPECT_TRUE(Overseer::getInstance()->isApplicationThread());
        ++aborts;
        if (gate)
            gate->release();
    }
};

/// Ends at once; the processor deletes it.
class Short : public Command
{
public:
    Short() : Command(new CommandDescriptor(QStringLiteral("short"), QString()), nullptr)
    {
        setInstanceMode(RunOnce);
        setOneShot(true);
    }
    void execute() override { ++executed; }
};

class ProcessorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        alive = aborts = executed = 0;
        gate = nullptr;
        prototype = new Probe;
        processor->addPrimaryCommand(prototype, Probe::create);
    }
    void TearDown() override
    {
        processor->removePrimaryCommand(prototype);
        processor->destroyCommand(prototype);
        EXPECT_EQ(alive, 0);
        gate = nullptr;
    }
    CommandProcessor* processor = Overseer::getInstance()->getCommandProcessor();
    Probe* prototype = nullptr;
};

} // namespace

TEST_F(ProcessorTest, ACloneRunsOnAThreadOfItsOwnAndIsDeleted)
{
    QString error;
    const auto run = processor->start(QStringLiteral("PROBE hello"), &error);
    ASSERT_TRUE(run) << error.toStdString();
    ASSERT_TRUE(run->wait(10000));
    EXPECT_TRUE(run->succeeded());
    EXPECT_NE(lastThread.load(), QThread::currentThread());
    EXPECT_EQ(lastText, "hello");
    EXPECT_EQ(lastNumber, 7) << "an omitted argument has the default of the dialog";
    EXPECT_EQ(alive, 1) << "the prototype only";
    EXPECT_EQ(run->getArgument(QStringLiteral("TEXT")), "hello");
    EXPECT_EQ(run->getText(), "at the gate");
    EXPECT_EQ(run->getProcessed(), 40);
}

TEST_F(ProcessorTest, SeveralRunsExecuteInParallel)
{
    QSemaphore closed(0);
    gate = &closed;
    const auto one = processor->start(QStringLiteral("probe a"), nullptr);
    const auto two = processor->start(QStringLiteral("probe b"), nullptr);
    EXPECT_EQ(processor->getRuns().size(), 2u);
    EXPECT_EQ(alive, 3);
    closed.release(2);
    EXPECT_TRUE(one->wait(10000));
    EXPECT_TRUE(two->wait(10000));
    EXPECT_TRUE(processor->getRuns().empty());
}

TEST_F(ProcessorTest, StopCallsAbortOnceOnTheApplicationThread)
{
    QSemaphore closed(0);
    gate = &closed;
    const auto run = processor->start(QStringLiteral("probe a"), nullptr);
    run->stop();
    run->stop();
    EXPECT_TRUE(run->isStopped());
    ASSERT_TRUE(run->wait(10000));
    run->stop();
    Overseer::getInstance()->processWorkers();
    EXPECT_EQ(aborts, 1);
}

TEST_F(ProcessorTest, AnExceptionIsLoggedAndTheRunEnds)
{
    LogCapture log;
    const auto run = processor->start(QStringLiteral("probe throw"), nullptr);
    ASSERT_TRUE(run->wait(10000));
    EXPECT_FALSE(run->succeeded());
    EXPECT_TRUE(log.contains(QStringLiteral("The command probe failed: thrown on purpose"))) << log.text();
}

TEST_F(ProcessorTest, WrongTextsAreRefusedWithOneLine)
{
    const std::pair<const char*, const char*> rows[] = {
        {"nothing", "There is no command \"nothing\"; there are: probe"},
        {"probe a 1 2", "probe takes 2 arguments at most, 3 were given"},
        {"probe a numbr=1", "probe has no parameter \"numbr\"; it has: text, number"},
        {"probe a text=b", "probe: \"text\" was given twice"},
        {"probe a number=1x", "probe: the value of \"number\" cannot be used: \"1x\" is not a whole number between "
                              "-2147483648 and 2147483647"},
        {"probe", "probe: the argument \"text\" is missing"},
        {"probe number=3", "probe: the argument \"text\" is missing"},
        {"probe a numbr%1=1", "probe has no parameter \"numbr%1\"; it has: text, number"},
        {"probe a number=%3", "probe: the value of \"number\" cannot be used: \"%3\" is not a whole number between "
                              "-2147483648 and 2147483647"},
        {"", "There is no command in the text"},
        {"a\nb", "There is more than one command"},
    };
    for (const auto& [text, message] : rows) {
        QString error;
        EXPECT_FALSE(processor->start(QString::fromUtf8(text), &error)) << text;
        EXPECT_EQ(error.toStdString(), message);
    }
    EXPECT_EQ(executed, 0);
    EXPECT_EQ(alive, 1);
}

TEST_F(ProcessorTest, AnEmptyArgumentIsAValue)
{
    lastText = QStringLiteral("unset");
    QString error;
    const auto run = processor->start(QStringLiteral("probe \"\""), &error);
    ASSERT_TRUE(run) << error.toStdString();
    ASSERT_TRUE(run->wait(10000));
    EXPECT_EQ(lastText, "");
}

TEST_F(ProcessorTest, AnOptionalArgumentMayBeOmitted)
{
    struct Plain : AbstractParameter
    {
        Plain(const QString& defaultText)
            : AbstractParameter(QStringLiteral("p"), QString(), defaultText, false, nullptr)
        {}
        bool castString(const QString& t) override
        {
            text = t;
            return true;
        }
        QString toString() override { return text; }
        void deleteValue() override { text = QString(); }
        void takeValueFrom(AbstractParameter*) override {}
        bool hasValue() override { return !text.isNull(); }
        QString toDebugString() override { return QString(); }
        void* getValuePointer() override { return nullptr; }
        void setValuePointer(void*) override {}
        void bindTo(void*) override {}
        QString text = QStringLiteral("old");
    };
    Probe command;
    command.setCurrentParameterSetId(9);
    auto* set = new ParameterSet(9);
    auto* optional = new Plain(QString());
    auto* withDefault = new Plain(QStringLiteral("d"));
    set->addParameter(optional);
    set->addParameter(withDefault);
    command.addParameterSet(set);
    QString error;
    EXPECT_TRUE(command.setParameters({}, &error)) << error.toStdString();
    EXPECT_FALSE(optional->hasValue());
    EXPECT_EQ(withDefault->text, "d");
    EXPECT_EQ(command.getErrorState(), 0);
    EXPECT_FALSE(command.setParameters({QStringList{"1", "2", "3"}, {}}, &error));
    EXPECT_EQ(command.getErrorState(), 1);
}

TEST_F(ProcessorTest, PercentSignsInACommandsNameAreKept)
{
    struct Named : Command
    {
        Named() : Command(new CommandDescriptor(QStringLiteral("a%2b"), QString()), nullptr) {}
        void execute() override {}
    } command;
    QString error;
    EXPECT_FALSE(command.setParameters({QStringList{"x"}, {}}, &error));
    EXPECT_EQ(error, "a%2b takes 0 arguments at most, 1 were given");
}

TEST_F(ProcessorTest, EachTextIsConvertedOnce)
{
    static int conversions = 0;
    struct Counted
    {};
    struct CountedCast : CastClass
    {
        CountedCast() : CastClass(false) {}
        void* fromString(const QString&) override
        {
            ++conversions;
            return new Counted;
        }
        QString toString(const void*) override { return QString(); }
        void deleteValue(void* value) override { delete static_cast<Counted*>(value); }
    };
    CastClassManager::getInstance()->registerCastClass(typeid(Counted), [] { return new CountedCast; });
    Probe command;
    auto* set = new ParameterSet(9);
    set->addParameter(new Parameter<Counted>(QStringLiteral("counted"), QString()));
    command.addParameterSet(set);
    command.setCurrentParameterSetId(9);
    ASSERT_TRUE(command.setParameters({QStringList{"x"}, {}}, nullptr));
    EXPECT_EQ(conversions, 1);
    EXPECT_TRUE(set->at(0)->hasValue());
}

TEST_F(ProcessorTest, ShortCommandsMayBeStartedOnAnyThread)
{
    constexpr int Threads = 3, Commands = 1000;
    std::vector<std::thread> threads;
    for (int t = 0; t < Threads; ++t)
        threads.emplace_back([this] {
            for (int i = 0; i < Commands; ++i)
                processor->processCommand(new Short, 1, i % 10 == 9);
        });
    EXPECT_TRUE(processUntil([&] { return executed == Threads * Commands; }, 100000));
    // Some threads may still be waiting for their last command.
    EXPECT_TRUE(processUntil([&] { return processor->getRuns().empty(); }));
    for (auto& thread : threads)
        thread.join();
}

TEST_F(ProcessorTest, AThreadIsNotDeletedWhileItIsBeingStarted)
{
    if (!hooks::Available)
        GTEST_SKIP() << "this build cannot replace functions";
    std::atomic<bool> deleted{false};
    QSemaphore ended, released;
    hooks::startHook = [&](QThread* thread, const std::function<void()>& start) {
        QObject::connect(thread, &QThread::finished, [&] { ended.release(); });
        QObject::connect(thread, &QObject::destroyed, [&] {
            deleted = true;
            released.release();
        });
        start();
        EXPECT_TRUE(released.tryAcquire(1, 20000)) << "the application thread neither deletes the thread nor waits";
        EXPECT_FALSE(deleted) << "the starter still uses the thread";
    };
    CommandRunPointer run;
    std::thread starter([&] { run = processor->processCommand(new Short, 1, false); });
    ASSERT_TRUE(ended.tryAcquire(1, 20000));
    // The command has ended, its starter has not returned. Now the application thread finishes the run.
    hooks::LockHook waits{{}, [&] { released.release(); }};
    hooks::lockHook = &waits;
    Overseer::getInstance()->processWorkers();
    hooks::lockHook = nullptr;
    starter.join();
    hooks::startHook = nullptr;
    EXPECT_TRUE(processUntil([&] { return run->isFinished(); }));
    EXPECT_TRUE(run->succeeded());
}

TEST_F(ProcessorTest, TheLastCallOfDisableCommandWinsForWhatTheMenuShows)
{
    if (!hooks::Available)
        GTEST_SKIP() << "this build cannot replace functions";
    bool shown = true;
    QObject context;
    QObject::connect(processor, &CommandProcessor::commandEnabledChanged, &context,
                     [&](const QString&, bool enabled) { shown = enabled; });
    // The first call is held before each of its locks in turn, until the second call has returned or waits for it.
    int locks = 1;
    for (int heldAt = 1; heldAt <= locks; ++heldAt) {
        QSemaphore held, released;
        locks = 0;
        std::thread first([&] {
            hooks::LockHook hook{[&] {
                                     if (++locks == heldAt) {
                                         held.release();
                                         EXPECT_TRUE(released.tryAcquire(1, 20000));
                                     }
                                 },
                                 {}};
            hooks::lockHook = &hook;
            prototype->disableCommand(true);
            hooks::lockHook = nullptr;
        });
        EXPECT_TRUE(held.tryAcquire(1, 20000));
        std::thread second([&] {
            hooks::LockHook hook{{}, [&] { released.release(); }};
            hooks::lockHook = &hook;
            prototype->disableCommand(false);
            hooks::lockHook = nullptr;
            released.release();
        });
        first.join();
        second.join();
        QCoreApplication::sendPostedEvents();
        EXPECT_EQ(shown, !prototype->isDisabled()) << "held at lock " << heldAt;
    }
    EXPECT_GE(locks, 1);
}

TEST_F(ProcessorTest, ADisabledCommandIsRefused)
{
    prototype->disableCommand(true);
    QString error;
    EXPECT_FALSE(processor->start(QStringLiteral("probe a"), &error));
    EXPECT_EQ(error, "probe cannot run now: it is disabled");
}

TEST_F(ProcessorTest, APrototypeRunsItselfOneRunAtATime)
{
    prototype->setInstanceMode(Command::RunPrototype);
    QSemaphore closed(0);
    gate = &closed;
    const auto run = processor->start(QStringLiteral("probe a"), nullptr);
    ASSERT_TRUE(run);
    EXPECT_EQ(alive, 1);
    QString error;
    EXPECT_FALSE(processor->start(QStringLiteral("probe b"), &error));
    EXPECT_EQ(error, "probe is still running");
    closed.release();
    ASSERT_TRUE(run->wait(10000));
    EXPECT_EQ(lastText, "a");
}

TEST_F(ProcessorTest, SignalsComeFromTheEventLoopOnly)
{
    QCoreApplication::processEvents(); // delivers the events of earlier runs
    QSignalSpy started(processor, &CommandProcessor::runStarted);
    QSignalSpy finished(processor, &CommandProcessor::runFinished);
    QSignalSpy enabled(processor, &CommandProcessor::commandEnabledChanged);
    const auto run = processor->start(QStringLiteral("probe a"), nullptr);
    prototype->disableCommand(true);
    prototype->disableCommand(false);
    EXPECT_TRUE(run->wait(10000));
    EXPECT_EQ(started.count() + finished.count() + enabled.count(), 0);
    ASSERT_TRUE(processUntil([&] { return finished.count() == 1; }));
    EXPECT_EQ(started.count(), 1);
    ASSERT_GE(enabled.count(), 1);
    EXPECT_EQ(enabled.last().at(1).toBool(), true) << "the last call wins";
}

TEST_F(ProcessorTest, RunBeginsIsEmittedBeforeTheCommandExecutes)
{
    lastText.clear();
    QStringList begun;
    QObject context;
    QObject::connect(
        processor, &CommandProcessor::runBegins, &context,
        [&](const CommandRunPointer& run) { begun << run->getCommandName() + lastText; }, Qt::DirectConnection);
    const auto run = processor->start(QStringLiteral("probe a"), nullptr);
    EXPECT_EQ(begun, QStringList(QStringLiteral("probe")));
    ASSERT_TRUE(run->wait(10000));
    EXPECT_EQ(lastText, "a");
    EXPECT_EQ(begun.size(), 1);
}

TEST_F(ProcessorTest, RemovingAPrototypeStopsItsRuns)
{
    QSemaphore closed(0);
    gate = &closed;
    const auto run = processor->start(QStringLiteral("probe a"), nullptr);
    processor->removePrimaryCommand(prototype);
    EXPECT_TRUE(run->isFinished());
    EXPECT_EQ(aborts, 1);
    EXPECT_FALSE(processor->getPrimaryCommand(QStringLiteral("probe")));
}

TEST_F(ProcessorTest, ACloneGetsItsParametersThenItsSetThenItsFlag)
{
    static QStringList* steps = nullptr;
    struct Traced : Command
    {
        struct Text : Parameter<QString>
        {
            Text(Traced* command, const QString& name) : Parameter<QString>(name, QString()), owner(command) {}
            bool castString(const QString& text) override
            {
                if (steps)
                    *steps << QStringLiteral("%1=%2 default %3 set %4 announces %5")
                                  .arg(getName(), text, getDefaultParameterForDefaultGUI(),
                                       QString::number(owner->getCurrentParameterSetId()),
                                       QString::number(owner->announcesChanges()));
                return Parameter<QString>::castString(text);
            }
            Traced* owner;
        };
        Traced() : Command(new CommandDescriptor(QStringLiteral("traced"), QString()), nullptr)
        {
            if (steps)
                *steps << QStringLiteral("created");
            for (int id : {1, 2}) {
                auto* set = new ParameterSet(id);
                for (const char* name : {"a", "b"})
                    set->addParameter(new Text(this, QLatin1String(name) + QString::number(id)));
                addParameterSet(set);
            }
        }
        static Command* create() { return new Traced; }
        void execute() override {}
    };
    Traced original;
    processor->addPrimaryCommand(&original, Traced::create);
    original.setCurrentParameterSetId(2);
    original.setAnnouncesChanges(false);
    for (ParameterSet* set : original.getParameterSets())
        for (AbstractParameter* parameter : set->getParameters()) {
            parameter->setDefaultParameterForDefaultGUI(QStringLiteral("d"));
            parameter->castString(QStringLiteral("v"));
        }
    original.getParameterSets()[0]->at(1)->deleteValue();
    QStringList seen;
    steps = &seen;
    Command* copy = original.clone();
    steps = nullptr;
    EXPECT_EQ(seen, (QStringList{"created", "a1=v default d set 1 announces 1", "a2=v default d set 1 announces 1",
                                 "b2=v default d set 1 announces 1"}));
    EXPECT_EQ(copy->getCurrentParameterSetId(), 2);
    EXPECT_FALSE(copy->announcesChanges());
    EXPECT_FALSE(copy->getParameterSets()[0]->at(1)->hasValue()) << "only existing values are copied";
    EXPECT_EQ(copy->getParameterSets()[0]->at(1)->getDefaultParameterForDefaultGUI(), "d");
    processor->destroyCommand(copy);
    processor->removePrimaryCommand(&original);
}

TEST_F(ProcessorTest, ACloneHasTheValuesTheSetAndTheAnnounceFlag)
{
    CommandArguments arguments;
    arguments.positional = QStringList{"x", "12"};
    ASSERT_TRUE(prototype->setParameters(arguments, nullptr));
    prototype->setAnnouncesChanges(false);
    Command* copy = prototype->clone();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->getCurrentParameterSetId(), 3);
    EXPECT_EQ(copy->getCurrentParameterSet()->at(1)->toString(), "12");
    EXPECT_NE(copy->getCurrentParameterSet()->at(1)->getValuePointer(),
              prototype->getCurrentParameterSet()->at(1)->getValuePointer());
    EXPECT_FALSE(copy->announcesChanges());
    processor->destroyCommand(copy);
}

TEST(FunctionCommands, RunLaterInOrderAndAreDeleted)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    std::vector<int> order;
    std::atomic<bool> inside{true};
    bool synchronous = false;
    for (int i = 0; i < 20; ++i)
        processor->processCommand(new FunctionCommand(
                                      [&, i] {
                                          if (i == 0)
                                              while (inside) // until the loop below has ended
                                                  QThread::yieldCurrentThread();
                                          order.push_back(i);
                                      },
                                      true),
                                  1, false);
    synchronous = !order.empty();
    inside = false;
    processor->drain();
    EXPECT_FALSE(synchronous);
    ASSERT_EQ(order.size(), 20u);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(order[std::size_t(i)], i);
}

TEST(FunctionCommands, ExecutionValueZeroRunsNothing)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    bool ran = false;
    FunctionCommand command([&ran] { ran = true; }, false);
    EXPECT_FALSE(processor->processCommand(&command, 0, true));
    processor->drain();
    EXPECT_FALSE(ran);
}
