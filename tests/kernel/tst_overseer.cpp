#include "kernel/commands/commandprocessor.h"
#include "kernel/commands/functioncommand.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "kernel/workers/workerdelegate.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

using namespace tov::main;
using tov::test::processUntil;
using tov::util::FunctionDelegate;

namespace {

WorkerDelegate::InternalWorker* workerOf(std::function<void()> function, bool keeps = false)
{
    return new WorkerDelegate::InternalWorker(new FunctionDelegate(std::move(function)), keeps);
}

} // namespace

TEST(Overseer, RunsWorkersOfAThreadInOrderOnTheApplicationThread)
{
    auto* overseer = Overseer::getInstance();
    std::vector<int> order;
    bool elsewhere = false;
    std::thread other([&] {
        for (int i = 0; i < 200; ++i)
            overseer->transmitWorker(workerOf([&, i] {
                elsewhere = elsewhere || !overseer->isApplicationThread();
                order.push_back(i);
            }));
    });
    EXPECT_TRUE(processUntil([&] { return order.size() == 200; }));
    other.join();
    EXPECT_FALSE(elsewhere);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(Overseer, OnTheApplicationThreadQueuedWorkersRunFirst)
{
    auto* overseer = Overseer::getInstance();
    std::vector<int> order;
    std::thread([&] { overseer->post([&] { order.push_back(1); }); }).join();
    overseer->transmitWorker(workerOf([&] { order.push_back(2); }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(Overseer, AWorkerMayTransmitAnother)
{
    auto* overseer = Overseer::getInstance();
    std::vector<int> order;
    overseer->post([&] {
        order.push_back(1);
        EXPECT_TRUE(overseer->runAndWait([&] { order.push_back(2); }));
        order.push_back(3);
    });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(Overseer, AWaitedWorkerIsABarrier)
{
    auto* overseer = Overseer::getInstance();
    std::atomic<int> before{0};
    std::atomic<bool> done{false};
    int seen = -1;
    std::thread other([&] {
        for (int i = 0; i < 50; ++i)
            overseer->post([&] { ++before; });
        overseer->runAndWait([] {});
        seen = before;
        done = true;
    });
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    other.join();
    EXPECT_EQ(seen, 50);
}

TEST(Overseer, ExceptionsAreLoggedAndTheWaiterContinues)
{
    tov::test::LogCapture log;
    std::atomic<int> result{-1};
    std::thread other(
        [&] { result = Overseer::getInstance()->runAndWait([] { throw std::runtime_error("in the worker"); }); });
    EXPECT_TRUE(processUntil([&] { return result >= 0; }));
    other.join();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(log.contains(QStringLiteral("Work for the application thread failed: in the worker"))) << log.text();
}

TEST(Overseer, AWorkerThatItsCreatorKeepsIsNotDeleted)
{
    auto* overseer = Overseer::getInstance();
    int runs = 0;
    auto* worker = workerOf([&] { ++runs; }, true);
    overseer->transmitWorker(worker);
    EXPECT_TRUE(worker->isFinished());
    delete worker;
    EXPECT_EQ(runs, 1);
}

TEST(Overseer, WaitersAndOverseerNeverDeleteEarly)
{
    auto* overseer = Overseer::getInstance();
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                overseer->runAndWait([] {});
            ++finished;
        });
    EXPECT_TRUE(processUntil([&] { return finished == 4; }));
    for (auto& thread : threads)
        thread.join();
}

namespace {

/// Ends the Overseer while work of all kinds is in progress, and prints the steps in their order.
[[noreturn]] void endOverseer()
{
    static std::mutex mutex;
    static QStringList steps;
    const auto note = [](const char* step) {
        std::lock_guard<std::mutex> guard(mutex);
        steps << QLatin1String(step);
    };
    struct Running : Command
    {
        Running(std::function<void(const char*)> function)
            : Command(new CommandDescriptor(QStringLiteral("running"), QString()), nullptr), note(std::move(function))
        {
            setInstanceMode(RunOnce);
            setOneShot(true);
        }
        ~Running() override { note("command deleted"); }
        void execute() override
        {
            started.release();
            stopped.acquire();
            Overseer::getInstance()->runAndWait([this] { note("worker of the command"); });
            note("command ended");
            Overseer::getInstance()->getCommandProcessor()->processCommand(
                new FunctionCommand(
                    [this] { Overseer::getInstance()->post([n = note] { n("worker of the function"); }); }, true),
                1, false);
        }
        void abort() override
        {
            note("abort");
            stopped.release();
        }
        std::function<void(const char*)> note;
        QSemaphore started, stopped;
    };
    Overseer* overseer = Overseer::getInstance();
    auto* command = new Running(note);
    overseer->getCommandProcessor()->processCommand(command, 1, false);
    command->started.acquire();
    Overseer::destroyInstance();
    note("end");
    const auto wrong = [](const char* what) {
        std::fprintf(stderr, "wrong: %s\n", what);
        std::_Exit(1);
    };
    if (Overseer::getInstance() != overseer || overseer->getCommandProcessor())
        wrong("the ended Overseer stays, without a processor");
    if (overseer->runAndWait([&note] { note("late"); }))
        wrong("late work on the application thread is dropped");
    std::thread([&] {
        if (overseer->runAndWait([&note] { note("late"); }))
            wrong("late work of a thread is dropped");
        overseer->post([&note] { note("late"); });
    }).join();
    overseer->processWorkers();
    Overseer::destroyInstance();
    std::fprintf(stderr, "%s\n", steps.join(QStringLiteral(", ")).toUtf8().constData());
    std::_Exit(0);
}

} // namespace

TEST(Overseer, EndsCommandsThenFunctionsThenWorkersAndDropsTheRest)
{
    EXPECT_EXIT(endOverseer(), testing::ExitedWithCode(0),
                "abort, worker of the command, command ended, worker of the function, command deleted, end");
}

TEST(Settings, ThreadsSeeEachOthersValues)
{
    tov::test::TemporarySettings settings;
    tovSettings().setValue(QStringLiteral("a/b"), 5);
    int seen = 0;
    const QSettings* other = nullptr;
    std::thread([&] {
        seen = tovSettings().value(QStringLiteral("a/b")).toInt();
        other = &tovSettings();
        tovSettings().setValue(QStringLiteral("a/c"), 6);
    }).join();
    EXPECT_EQ(seen, 5);
    EXPECT_NE(other, &tovSettings());
    EXPECT_EQ(tovSettings().value(QStringLiteral("a/c")).toInt(), 6);
    EXPECT_EQ(Overseer::getInstance()->getQSettings(), &tovSettings());
}

TEST(ProgressDialog, OnlyPostsAndEndsExactlyOnce)
{
    typedef tov::util::ZProgressDialog Dialog;
    std::vector<Dialog::Update> updates;
    Dialog::setPresenter([&](const Dialog::Update& update) { updates.push_back(update); });
    std::thread([] {
        Dialog dialog(QStringLiteral("Building Picture"), false);
        for (int i = 0; i <= 50; ++i)
            dialog.setValue(i);
    }).join();
    EXPECT_TRUE(updates.empty()) << "nothing waits for the application thread";
    Overseer::getInstance()->processWorkers();
    Dialog::setPresenter({});
    ASSERT_GE(updates.size(), 2u);
    EXPECT_EQ(updates.front().title, "Building Picture");
    EXPECT_TRUE(updates.back().finished);
    EXPECT_EQ(updates.back().percent, 50);
    EXPECT_EQ(std::count_if(updates.begin(), updates.end(), [](const auto& u) { return u.finished; }), 1);
}
