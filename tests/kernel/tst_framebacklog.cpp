#include "kernel/util/framebacklog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using tov::util::FrameBacklog;

namespace {

class FrameBacklogTest : public testing::Test
{
protected:
    void SetUp() override { FrameBacklog::clear(); }
    void TearDown() override { FrameBacklog::clear(); }
};

bool never()
{
    return false;
}

} // namespace

TEST_F(FrameBacklogTest, PendingIsCapturedMinusTaken)
{
    FrameBacklog::captured(3, 300);
    FrameBacklog::taken(1, 100);
    EXPECT_EQ(FrameBacklog::pending().frames, 2);
    EXPECT_EQ(FrameBacklog::pending().bytes, 200);
    EXPECT_EQ(FrameBacklog::totalTaken().frames, 1);
    EXPECT_EQ(FrameBacklog::totalTaken().bytes, 100);
}

TEST_F(FrameBacklogTest, PendingIsNeverNegative)
{
    FrameBacklog::taken(5, 500);
    EXPECT_EQ(FrameBacklog::pending().frames, 0);
    EXPECT_EQ(FrameBacklog::pending().bytes, 0);
    EXPECT_TRUE(FrameBacklog::waitUntilBelow(1, never));
}

TEST_F(FrameBacklogTest, BelowTheLimitNothingWaits)
{
    FrameBacklog::captured(1, 99);
    EXPECT_TRUE(FrameBacklog::waitUntilBelow(100, never));
    EXPECT_TRUE(FrameBacklog::waitUntilBelow(100, {}));
}

TEST_F(FrameBacklogTest, AWaiterContinuesWhenAFrameIsTaken)
{
    FrameBacklog::captured(2, 200);
    std::atomic<bool> waiting{false};
    bool below = false;
    std::thread waiter([&] {
        below = FrameBacklog::waitUntilBelow(200, [&] {
            waiting = true;
            return false;
        });
    });
    while (!waiting)
        std::this_thread::yield();
    FrameBacklog::taken(1, 100);
    waiter.join();
    EXPECT_TRUE(below);
}

TEST_F(FrameBacklogTest, TheStopFunctionEndsTheWait)
{
    FrameBacklog::captured(1, 1000);
    std::atomic<bool> stop{false};
    std::atomic<int> stopCalls{0};
    bool below = true;
    std::thread waiter([&] {
        below = FrameBacklog::waitUntilBelow(10, [&] {
            ++stopCalls;
            return stop.load();
        });
    });
    while (stopCalls < 3) // called repeatedly although no frame is taken
        std::this_thread::yield();
    stop = true;
    waiter.join();
    EXPECT_FALSE(below);
}

TEST_F(FrameBacklogTest, TheStopFunctionIsCalledWithoutALock)
{
    FrameBacklog::captured(1, 1000);
    EXPECT_FALSE(FrameBacklog::waitUntilBelow(10, [] { return FrameBacklog::pending().frames == 1; }));
}

TEST_F(FrameBacklogTest, SeveralRecordingsStayBelowTheLimitUnderLoad)
{
    constexpr int Recordings = 4;
    constexpr int Frames = 5000;
    constexpr qint64 FrameBytes = 10;
    constexpr qint64 Limit = 200;
    std::atomic<int> available[Recordings] = {};
    std::atomic<qint64> highest{0};
    std::vector<std::thread> threads;
    for (int r = 0; r < Recordings; ++r) {
        threads.emplace_back([&, r] { // captures
            for (int i = 0; i < Frames; ++i) {
                ASSERT_TRUE(FrameBacklog::waitUntilBelow(Limit, never));
                FrameBacklog::captured(1, FrameBytes);
                const qint64 pending = FrameBacklog::pending().bytes;
                for (qint64 seen = highest; pending > seen && !highest.compare_exchange_weak(seen, pending);)
                    ;
                ++available[r];
            }
        });
        threads.emplace_back([&, r] { // encodes
            for (int i = 0; i < Frames; ++i) {
                while (available[r] <= i)
                    std::this_thread::yield();
                FrameBacklog::taken(1, FrameBytes);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(FrameBacklog::pending().frames, 0);
    EXPECT_EQ(FrameBacklog::pending().bytes, 0);
    EXPECT_EQ(FrameBacklog::totalTaken().frames, Recordings * Frames);
    // Each recording may pass the check at the same time as the others.
    EXPECT_LE(highest, Limit + Recordings * FrameBytes);
    EXPECT_GT(highest, 0);
}
