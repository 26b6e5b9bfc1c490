#include "tern/run_services.h"

#include <gtest/gtest.h>

TEST(RunServices, CounterNeverDecreasesYieldSucceedsPathIsTested) {
    std::uint64_t last = tern_read_tsc();
    for (int i = 0; i < 1000; ++i) {
        std::uint64_t now = tern_read_tsc();
        ASSERT_GE(now, last);
        last = now;
    }
    EXPECT_GT(last >> 32, 0u) << "the high half comes from EDX";
    EXPECT_EQ(tern_yield(), 0);
    EXPECT_EQ(tern_file_exists("/proc"), 1);
    EXPECT_EQ(tern_file_exists("/proc/no such path"), 0);
}
