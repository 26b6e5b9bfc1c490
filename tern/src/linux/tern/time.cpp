#include "tern/src/linux/tern/time.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>

#include "tern/src/linux/processor/brand_text.h"
#include "tern/src/linux/tern/cpuinfo_decoder.h"
#include "tern/src/linux/tern/line_file.h"
#include "tern/src/tern/check.h"

namespace {

constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;

/// The clock chosen, -1 until then. Threads that choose at the same time choose the same.
std::atomic<clockid_t> SYS_COUNTER_ID{-1};

/// Hertz; 0 until it is known.
std::atomic<std::uint64_t> known_frequency{0};

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

int tern::read_cpuinfo_frequency(const char* cpuinfo_path, std::uint64_t& hertz) {
    hertz = 0;
    return for_each_line(cpuinfo_path,
                         [&](const char* line) { return !cpuinfo_line_frequency(line, hertz); })
        .value_or(-1);
}

tern::cpu_frequency tern::find_cpu_frequency(cpuid_instruction cpuid, const char* cpuinfo_path) {
    std::uint64_t hertz = 0;
    std::array<char, 64> brand{};
    if (read_brand_text(cpuid, brand.data()))
        hertz = brand_frequency(brand.data());
    if (hertz != 0)
        return {.hertz = hertz, .source = frequency_source::brand_text};
    read_cpuinfo_frequency(cpuinfo_path, hertz);
    return {.hertz = hertz,
            .source = hertz != 0 ? frequency_source::cpuinfo : frequency_source::nobody};
}

std::uint64_t tern::reported_frequency(std::uint64_t hertz) {
    // A program that takes exactly 1 GHz for "unknown, counting nanoseconds" must not be misled.
    return hertz == 1'000'000'000 ? hertz + 1 : hertz;
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

int tern_get_cpu_frequency(std::uint64_t* hertz) {
    std::uint64_t known = known_frequency;
    if (known == 0) {
        const std::uint64_t found =
            tern::reported_frequency(tern::find_cpu_frequency(tern_cpuid, "/proc/cpuinfo").hertz);
        // Where another thread was faster, `known` becomes what it found, and that stays.
        if (known_frequency.compare_exchange_strong(known, found))
            known = found;
    }
    *hertz = known;
    return known != 0;
}

int tern_read_cpuinfo_frequency(std::uint64_t* hertz) {
    return tern::read_cpuinfo_frequency("/proc/cpuinfo", *hertz);
}
