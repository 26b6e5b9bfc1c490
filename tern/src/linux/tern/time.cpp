#include "tern/src/linux/tern/time.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

#include "tern/src/tern/check.h"

namespace {

constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;

/// The clock chosen, -1 until then. Threads that choose at the same time choose the same.
std::atomic<clockid_t> SYS_COUNTER_ID{-1};

/// The system call itself: the C library's wrapper would answer from the vDSO.
long read_kernel_clock(clockid_t clock, tern::kernel_time* time) {
    return syscall(SYS_clock_gettime, clock, time);
}

}  // namespace

int tern::select_system_clock(clock_reader read) {
    kernel_time scratch;
    const long status = read(CLOCK_MONOTONIC_RAW, &scratch);
    SYS_COUNTER_ID = status == 0 ? CLOCK_MONOTONIC_RAW : CLOCK_MONOTONIC;
    return static_cast<int>(status);
}

std::int64_t tern::system_time(clock_reader read) {
    if (SYS_COUNTER_ID == -1)
        select_system_clock(read);
    check(SYS_COUNTER_ID != -1, "SYS_COUNTER_ID != ((clockid_t)-1)", "tern_system_time",
          linux_half);
    kernel_time time;
    if (read(SYS_COUNTER_ID, &time) == -1)
        check(false, "0", "tern_system_time", linux_half);
    return time.seconds * nanoseconds_per_second + time.nanoseconds;
}

std::int64_t tern_system_time() {
    return tern::system_time(read_kernel_clock);
}

int tern_get_system_time_frequency(std::uint64_t* frequency) {
    *frequency = nanoseconds_per_second;
    return 1;
}

int tern_select_system_clock() {
    return tern::select_system_clock(read_kernel_clock);
}
