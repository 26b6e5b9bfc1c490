#include "frequency.h"

#include <sys/time.h>

#include "tern/run_services.h"

namespace Kestrel {
namespace {

constexpr std::uint64_t shortestInterval = 500, longestInterval = 1000;  // microseconds

}  // namespace

std::uint64_t frequencyOf(std::uint64_t ticks, std::uint64_t microseconds) {
    constexpr std::uint64_t hertzPerMegahertz = 1000000;
    const double ticksPerMicrosecond =
        static_cast<double>(ticks) / static_cast<double>(microseconds);
    return static_cast<std::uint64_t>(ticksPerMicrosecond) * hertzPerMegahertz;
}

std::uint64_t measureFrequency(const FrequencyClocks& clocks) {
    std::int32_t start = 0, now = 0;
    if (!clocks.wallMicroseconds(start))
        return 0;
    // From one edge of the microsecond to another: half a microsecond lost at either end would be
    // a thousandth of the result.
    do {
        if (!clocks.wallMicroseconds(now))
            return 0;
    } while (now == start);

    for (;;) {
        const std::uint64_t firstTick = clocks.counter();
        if (!clocks.wallMicroseconds(start))
            return 0;
        // Only the microsecond field takes part. An interval that crosses a second is negative,
        // unsigned above both limits: it ends the wait at once and is measured again.
        std::uint64_t elapsed = 0;
        while (elapsed < shortestInterval) {
            if (!clocks.wallMicroseconds(now))
                return 0;
            elapsed = static_cast<std::uint64_t>(std::int64_t{now} - start);
        }
        const std::uint64_t lastTick = clocks.counter();
        if (elapsed <= longestInterval)
            return frequencyOf(lastTick - firstTick, elapsed);
    }
}

std::uint64_t measureFrequency() {
    return measureFrequency({.wallMicroseconds =
                                 [](std::int32_t& microseconds) {
                                     timeval now;
                                     if (gettimeofday(&now, nullptr) != 0)
                                         return false;
                                     microseconds = static_cast<std::int32_t>(now.tv_usec);
                                     return true;
                                 },
                             .counter = tern_read_tsc});
}

}  // namespace Kestrel
