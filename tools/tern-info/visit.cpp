#include "visit.h"

#include <sched.h>

#include <string>

#include "tern/cpu_info.h"
#include "tern/run_services.h"
#include "tern/time.h"

namespace {

struct moment {
    std::uint64_t ticks;
    std::int64_t nanoseconds;
};

/// Counter and time as of one moment: of a few tries the one with the shortest time between the
/// counter readings about it, since an interrupt there would shift one against the other.
moment read_moment() {
    moment best{.ticks = 0, .nanoseconds = 0};
    std::uint64_t shortest = UINT64_MAX;
    for (int i = 0; i < 10; ++i) {
        const std::uint64_t before = tern_read_tsc();
        const std::int64_t now = tern_system_time();
        const std::uint64_t span = tern_read_tsc() - before;
        if (span < shortest) {
            shortest = span;
            best = {.ticks = before + span / 2, .nanoseconds = now};
        }
    }
    return best;
}

double measure_counter() {
    constexpr std::int64_t span = 50'000'000;
    const moment start = read_moment();
    while (tern_system_time() - start.nanoseconds < span)
        tern_yield();
    const moment end = read_moment();
    return static_cast<double>(end.ticks - start.ticks) * 1e9 /
           static_cast<double>(end.nanoseconds - start.nanoseconds);
}

void measure_here(visit_facts& facts) {
    const int cpu = sched_getcpu();
    facts.caches = gather_caches("/sys/devices/system/cpu/cpu" + std::to_string(cpu < 0 ? 0 : cpu));
    const double hertz = measure_counter();
    if (hertz > 0)
        facts.counter_hertz = hertz;
}

struct visit_state {
    visit_facts facts;
    bool all_in_order = true;
};

int visit(std::uint32_t apic_id, std::uint32_t ordinal, void* context) {
    auto& state = *static_cast<visit_state*>(context);
    if (ordinal == 0)
        measure_here(state.facts);
    const int cpu = sched_getcpu();
    state.all_in_order = state.all_in_order && (cpu < 0 || static_cast<unsigned>(cpu) == ordinal);
    state.facts.apic_ids.emplace_back(apic_id);
    return 0;
}

}  // namespace

visit_facts visit_cpus(std::uint32_t cpu_count) {
    constexpr std::uint32_t beyond_affinity = 1024;
    visit_state state;
    const std::uint32_t visited =
        cpu_count < beyond_affinity ? tern_traverse_cpus(visit, &state) : 0;
    if (!state.facts.counter_hertz)
        measure_here(state.facts);
    // Ordinals are CPU numbers only if none was left out.
    if (visited != cpu_count || !state.all_in_order)
        state.facts.apic_ids.assign(cpu_count, std::nullopt);
    return std::move(state.facts);
}
