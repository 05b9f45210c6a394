#include "kernel/util/processmemory.h"

#include <QByteArray>

#include <gtest/gtest.h>

namespace {

constexpr int Bytes = 200000000;
constexpr qint64 Tolerance = 20000000;

TEST(ProcessMemory, FollowsAllocationsAndReleases)
{
    const qint64 process = tov::util::processMemory(), allocated = tov::util::allocatedMemory();
    EXPECT_GT(process, 0);
    EXPECT_GT(allocated, 0);
    {
        const QByteArray block(Bytes, 1);
        EXPECT_NEAR(double(tov::util::processMemory() - process), double(block.size()), Tolerance);
        EXPECT_NEAR(double(tov::util::allocatedMemory() - allocated), double(block.size()), Tolerance);
    }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep freed memory for a while
    EXPECT_NEAR(double(tov::util::allocatedMemory() - allocated), 0, Tolerance);
#endif
}

} // namespace
