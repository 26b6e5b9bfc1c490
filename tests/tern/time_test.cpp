#include "tern/src/linux/tern/time.h"

#include <gtest/gtest.h>

namespace {

TEST(Time, AMillionReadingsNeverDecreaseAndFollowTheClock) {
    std::int64_t last = tern_system_time();
    for (int i = 0; i < 1'000'000; ++i) {
        const std::int64_t now = tern_system_time();
        ASSERT_GE(now, last);
        last = now;
    }
    timespec raw;
    clock_gettime(CLOCK_MONOTONIC_RAW, &raw);
    const std::int64_t direct = raw.tv_sec * std::int64_t{1'000'000'000} + raw.tv_nsec;
    EXPECT_GE(direct, last);
    EXPECT_LT(direct - last, 1'000'000'000);
    std::uint64_t rate = 0;
    EXPECT_EQ(tern_get_system_time_frequency(&rate), 1);
    EXPECT_EQ(rate, 1'000'000'000u);
    EXPECT_EQ(tern_select_system_clock(), 0);
}

TEST(Time, WithoutTheRawClockTheMonotonicOneServes) {
    const auto old_kernel = [](clockid_t clock, tern::kernel_time* time) -> long {
        *time = {.seconds = 2'000'000'000, .nanoseconds = 999'999'999};
        return clock == CLOCK_MONOTONIC ? 0 : -1;
    };
    EXPECT_EQ(tern::select_system_clock(old_kernel), -1);
    EXPECT_EQ(tern::system_time(old_kernel), 2'000'000'000'999'999'999);
    EXPECT_EQ(tern_select_system_clock(), 0);
    EXPECT_EXIT(tern::system_time([](clockid_t, tern::kernel_time*) { return -1L; }),
                testing::KilledBySignal(SIGABRT),
                "^tern/src/linux/tern:[0-9]+ tern_system_time: Assertion '0' failed\\.\n\n$");
}

TEST(Time, NominalFrequencyStaysOnceFound) {
    std::uint64_t first = 0, second = 0;
    if (!tern_get_cpu_frequency(&first)) {
        EXPECT_EQ(first, 0u);
        GTEST_SKIP() << "no source on this machine";
    }
    // The present clock of /proc/cpuinfo may change between two readings, the answer may not.
    EXPECT_EQ(tern_get_cpu_frequency(&second), 1);
    EXPECT_EQ(first, second);
    EXPECT_GT(first, 100'000'000u);
}

}  // namespace
