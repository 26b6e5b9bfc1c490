#include "survey/run/cpu_times.h"

#include <string_view>

#include "machine/reading.h"
#include "machine/text.h"

namespace survey {

std::map<unsigned, CpuTime> cpuTimes() {
    std::map<unsigned, CpuTime> times;
    const std::string stat = machine::readFile(machine::thisMachine(), "/proc/stat").value_or("");
    for (std::string_view rest = stat; rest.starts_with("cpu");) {
        // cpu0 user nice system idle iowait irq softirq steal
        const auto fields = machine::words(machine::takeUntil(rest, '\n'));
        constexpr std::size_t steal = 8;
        const auto cpu = machine::parseNumber(std::string_view(fields[0]).substr(3));
        if (!cpu || fields.size() <= steal)
            continue;
        CpuTime time{.busy = 0, .stolen = machine::parseNumber(fields[steal]).value_or(0)};
        for (const std::size_t busy : {1u, 2u, 3u, 6u, 7u})
            time.busy += machine::parseNumber(fields[busy]).value_or(0);
        times[static_cast<unsigned>(*cpu)] = time;
    }
    return times;
}

}  // namespace survey
