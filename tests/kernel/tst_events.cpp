#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "tests/support/logcapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using tov::events::EventHandler;
using tov::main::Event;
using tov::main::EventManager;

TEST(EventHandler, TheSameNameGivesTheSameNumber)
{
    auto* handler = EventHandler::getInstance();
    const auto first = handler->addEvent("TestCategory", "ONE");
    EXPECT_NE(first, 0);
    EXPECT_EQ(handler->addEvent("TestCategory", "ONE"), first);
    EXPECT_NE(handler->addEvent("TestCategory", "TWO"), first);
    EXPECT_NE(handler->addEvent("Other", "ONE"), first);
    EXPECT_EQ(handler->getEventType("TestCategory", "ONE"), first);
    EXPECT_EQ(handler->getEventType("TestCategory", "NEVER"), 0);
    EXPECT_EQ(handler->getEventName(first), "TestCategory/ONE");
}

TEST(EventHandler, TextsAreCopied)
{
    char name[] = "VOLATILE";
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", name);
    name[0] = 'X';
    EXPECT_EQ(EventHandler::getInstance()->getEventName(type), "TestCategory/VOLATILE");
}

TEST(EventHandler, DeclarationsAreKeptOnlyWhileTheyAreRecorded)
{
    auto* handler = EventHandler::getInstance();
    handler->addEvent("TestCategory", "BEFORE");
    EXPECT_TRUE(handler->getDeclarations().empty());
    handler->recordDeclarations(true);
    const auto type = handler->addEvent("TestCategory", "RECORDED");
    handler->addEvent("TestCategory", "RECORDED");
    const auto declarations = handler->getDeclarations();
    handler->recordDeclarations(false);
    handler->addEvent("TestCategory", "AFTER");
    EXPECT_TRUE(handler->getDeclarations().empty());
    ASSERT_EQ(declarations.size(), 2u) << "repeats included";
    EXPECT_EQ(declarations[0].category, "TestCategory");
    EXPECT_EQ(declarations[1].name, "RECORDED");
    EXPECT_EQ(declarations[1].type, type);
}

TEST(EventHandler, RegistrationIsCounted)
{
    auto* handler = EventHandler::getInstance();
    EXPECT_FALSE(handler->isRegistered("Counted"));
    handler->registerEventTypes("Counted");
    handler->registerEventTypes("Counted");
    handler->unregisterEventTypes("Counted");
    EXPECT_TRUE(handler->isRegistered("Counted"));
    handler->unregisterEventTypes("Counted");
    EXPECT_FALSE(handler->isRegistered("Counted"));
}

TEST(EventManager, CallsInOrderAtOnceWithSenderAndData)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "FIRED");
    std::vector<int> calls;
    int owner = 0, sender = 0, data = 0;
    auto* manager = EventManager::getInstance();
    const void* key = &owner;
    manager->registerEventFunction(
        type, [&](const Event* e) { calls.push_back(e->getData() == &data ? 1 : -1); }, key);
    manager->registerEventFunction(
        type, [&](const Event*) { calls.push_back(2); }, key, &sender);
    manager->fireEvent(Event(type, nullptr, &data));
    EXPECT_EQ(calls, (std::vector<int>{1}));
    manager->fireEvent(Event(type, &sender, &data));
    EXPECT_EQ(calls, (std::vector<int>{1, 1, 2}));
    manager->unregisterAllEventFunctionsOf(key);
    manager->fireEvent(Event(type, &sender, &data));
    EXPECT_EQ(calls.size(), 3u);
}

TEST(EventManager, AFunctionMayUnregisterItsOwner)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "SELF");
    int owner = 0, calls = 0;
    const void* key = &owner;
    auto* manager = EventManager::getInstance();
    manager->registerEventFunction(
        type,
        [&](const Event*) {
            ++calls;
            manager->unregisterAllEventFunctionsOf(key);
        },
        key);
    manager->fireEvent(Event(type));
    manager->fireEvent(Event(type));
    EXPECT_EQ(calls, 1);
}

TEST(EventManager, UnregisteringWaitsForCallsOnOtherThreads)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "THREADS");
    auto* manager = EventManager::getInstance();
    for (int round = 0; round < 50; ++round) {
        auto target = std::make_unique<std::atomic<int>>(0);
        std::atomic<int>* raw = target.get();
        const void* key = raw;
        manager->registerEventFunction(
            type,
            [raw](const Event*) {
                for (int i = 0; i < 100; ++i)
                    raw->fetch_add(1);
            },
            key);
        std::thread firing([&] { manager->fireEvent(Event(type)); });
        manager->unregisterAllEventFunctionsOf(key);
        const int after = raw->load();
        EXPECT_TRUE(after == 0 || after == 100) << after;
        target.reset(); // the sanitizers would detect a late call
        firing.join();
    }
}

TEST(EventManager, UnregisteringDestroysTheFunctionsWhileAnotherThreadIsFiring)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "DESTROYED");
    auto* manager = EventManager::getInstance();
    std::atomic<bool> inside{false}, leave{false};
    int blocker = 0, owner = 0, calls = 0;
    const void* blockerKey = &blocker;
    const void* key = &owner;
    manager->registerEventFunction(
        type,
        [&](const Event*) {
            inside = true;
            while (!leave)
                std::this_thread::yield();
        },
        blockerKey);
    auto token = std::make_shared<int>(0);
    manager->registerEventFunction(
        type, [token, &calls](const Event*) { ++calls; }, key);
    std::thread firing([&] { manager->fireEvent(Event(type)); });
    while (!inside)
        std::this_thread::yield();
    // The other thread has collected both functions and is inside the first one.
    manager->unregisterAllEventFunctionsOf(key);
    EXPECT_EQ(token.use_count(), 1) << "no thread keeps a copy";
    leave = true;
    firing.join();
    EXPECT_EQ(calls, 0);
    manager->unregisterAllEventFunctionsOf(blockerKey);
}

TEST(EventManager, AFunctionThatUnregistersItselfIsDestroyedAfterItsCall)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "SELFDESTROYED");
    auto* manager = EventManager::getInstance();
    int owner = 0;
    long during = 0;
    const void* key = &owner;
    auto token = std::make_shared<int>(0);
    manager->registerEventFunction(
        type,
        [token, key, manager, &during](const Event*) {
            manager->unregisterAllEventFunctionsOf(key);
            during = token.use_count();
        },
        key);
    manager->fireEvent(Event(type));
    EXPECT_EQ(during, 2) << "it exists while it runs";
    EXPECT_EQ(token.use_count(), 1);
}

TEST(EventManager, AnExceptionDoesNotStopTheOthers)
{
    const auto type = EventHandler::getInstance()->addEvent("TestCategory", "THROWS");
    int owner = 0, calls = 0;
    const void* key = &owner;
    auto* manager = EventManager::getInstance();
    manager->registerEventFunction(
        type, [](const Event*) { throw std::runtime_error("inside"); }, key);
    manager->registerEventFunction(
        type, [&](const Event*) { ++calls; }, key);
    tov::test::LogCapture log;
    manager->fireEvent(Event(type));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(log.contains(QStringLiteral("A function for the event TestCategory/THROWS failed: inside")))
        << log.text();
    manager->unregisterAllEventFunctionsOf(key);
}
