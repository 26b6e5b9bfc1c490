#include "tern/src/linux/tern/time.h"

#include "temporary.h"

TEST(Time, IsTheRawClocks) {
    timespec before, after;
    clock_gettime(CLOCK_MONOTONIC_RAW, &before);
    const std::int64_t now = tern_system_time();
    clock_gettime(CLOCK_MONOTONIC_RAW, &after);
    EXPECT_GE(now, before.tv_sec * 1'000'000'000LL + before.tv_nsec);
    EXPECT_LE(now, after.tv_sec * 1'000'000'000LL + after.tv_nsec);
}

/// A clock that shows its own number.
template <int refused>
long fake_clock(clockid_t clock, tern::kernel_time* time) {
    *time = {.seconds = 2'000'000'000, .nanoseconds = clock};
    return clock == refused || refused < 0 ? -1 : 0;
}

TEST(Time, ChoosesTheRawClockElseTheMonotonicOne) {
    EXPECT_EQ(tern::select_system_clock(fake_clock<CLOCK_MONOTONIC_RAW>), -1);
    EXPECT_EQ(tern::system_time(fake_clock<CLOCK_MONOTONIC_RAW>), 2'000'000'000'000'000'001);
    EXPECT_EQ(tern_select_system_clock(), 0);
    EXPECT_EQ(tern::system_time(fake_clock<CLOCK_MONOTONIC>), 2'000'000'000'000'000'004);
    expect_report([] { tern::system_time(fake_clock<-1>); }, "tern_system_time", "0");
}

TEST(Time, NominalFrequencyStaysOnceFound) {
    std::uint64_t first = 1, second = 2;  // the present clock of /proc/cpuinfo may change between
    EXPECT_EQ(tern_get_cpu_frequency(&first), first != 0);
    EXPECT_EQ(tern_get_cpu_frequency(&second), second != 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(tern::read_cpuinfo_frequency("/no such file", second), -1);
}
