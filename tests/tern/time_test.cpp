#include "tern/src/linux/tern/time.h"

#include "temporary.h"

TEST(Time, AMillionReadingsNeverDecreaseAndFollowTheClock) {
    std::int64_t last = tern_system_time();
    for (int i = 0; i < 1'000'000; ++i) {
        const std::int64_t now = tern_system_time();
        ASSERT_GE(now, last);
        last = now;
    }
    timespec raw;
    clock_gettime(CLOCK_MONOTONIC_RAW, &raw);
    const std::int64_t behind = raw.tv_sec * std::int64_t{1'000'000'000} + raw.tv_nsec - last;
    EXPECT_TRUE(behind >= 0 && behind < 1'000'000'000) << behind;
}

TEST(Time, WithoutTheRawClockTheMonotonicOneServes) {
    const auto old_kernel = [](clockid_t clock, tern::kernel_time* time) -> long {
        *time = {.seconds = 2'000'000'000, .nanoseconds = 999'999'999};
        return clock == CLOCK_MONOTONIC ? 0 : -1;
    };
    EXPECT_EQ(tern::select_system_clock(old_kernel), -1);
    EXPECT_EQ(tern::system_time(old_kernel), 2'000'000'000'999'999'999);
    EXPECT_EQ(tern_select_system_clock(), 0);
    const auto no_clock = [](clockid_t, tern::kernel_time*) { return -1L; };
    expect_report([&] { tern::system_time(no_clock); }, "tern/src/linux/tern",
                  "tern_system_time: Assertion '0'");
}

TEST(Time, NominalFrequencyStaysOnceFound) {
    std::uint64_t first = 1, second = 2;  // the present clock of /proc/cpuinfo may change between
    EXPECT_EQ(tern_get_cpu_frequency(&first), first != 0);
    EXPECT_EQ(tern_get_cpu_frequency(&second), second != 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(tern::read_cpuinfo_frequency("/no such file", second), -1);
    EXPECT_EQ(second, 0u);
}
