#include <array>
#include <atomic>

#include "tern/src/linux/processor/brand_text.h"
#include "tern/src/linux/tern/cpuinfo_decoder.h"
#include "tern/src/linux/tern/line_file.h"
#include "tern/src/linux/tern/time.h"

/// Hertz; 0 until it is known.
static std::atomic<std::uint64_t> known_frequency{0};

int tern::read_cpuinfo_frequency(const char* cpuinfo_path, std::uint64_t& hertz) {
    hertz = 0;
    return for_each_line(cpuinfo_path,
                         [&](const char* line) { return !cpuinfo_line_frequency(line, hertz); })
        .value_or(-1);
}

std::uint64_t tern::find_cpu_frequency(cpuid_instruction cpuid, const char* cpuinfo_path) {
    std::uint64_t hertz = 0;
    std::array<char, 64> brand{};
    if (read_brand_text(cpuid, brand.data()))
        hertz = brand_frequency(brand.data());
    if (hertz == 0)
        read_cpuinfo_frequency(cpuinfo_path, hertz);
    // A program that takes exactly 1 GHz for "unknown, counting nanoseconds" must not be misled.
    return hertz == 1'000'000'000 ? hertz + 1 : hertz;
}

int tern_get_cpu_frequency(std::uint64_t* hertz) {
    std::uint64_t known = known_frequency;
    if (known == 0) {
        const std::uint64_t found = tern::find_cpu_frequency(tern_cpuid, "/proc/cpuinfo");
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
