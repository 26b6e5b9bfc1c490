#include "machine/visit.h"

#include <sched.h>

#include <cmath>
#include <utility>
#include <vector>

#include "tern/processor.h"
#include "tern/run_services.h"
#include "tern/src/linux/processor/cpuid_leaf.h"
#include "tern/time.h"

namespace machine {

namespace {

/// A set of CPUs as the kernel's affinity calls take it, wide enough for whatever a list can hold.
class CpuSet {
  public:
    bool readOwn() { return sched_getaffinity(0, bytes, sets.data()) == 0; }
    [[nodiscard]] bool makeOwn() const { return sched_setaffinity(0, bytes, sets.data()) == 0; }
    void add(unsigned cpu) { CPU_SET_S(cpu, bytes, sets.data()); }
    [[nodiscard]] bool has(unsigned cpu) const { return CPU_ISSET_S(cpu, bytes, sets.data()); }

    static constexpr std::size_t mostCpus = 65536;

  private:
    static constexpr std::size_t bytes = mostCpus / 8;
    std::vector<cpu_set_t> sets = std::vector<cpu_set_t>(mostCpus / CPU_SETSIZE);
};

/// False where the thread may not run there.
bool moveTo(unsigned cpu) {
    CpuSet target;
    target.add(cpu);
    return target.makeOwn() && std::cmp_equal(sched_getcpu(), cpu);
}

std::uint32_t apicId() {
    // Leaf 0x0B: the x2APIC id in EDX, where EBX is not 0.
    const tern_cpuid_block wide = tern::read_leaf(tern_cpuid, 0x0B);
    return wide.ebx != 0 ? wide.edx : tern_get_apic_id();
}

struct Moment {
    std::uint64_t ticks;
    std::int64_t nanoseconds;
};

/// Counter and time as of one moment: of a few tries the one with the shortest time between the
/// counter readings about it, since an interrupt there would shift one against the other.
Moment readMoment() {
    Moment best{.ticks = 0, .nanoseconds = 0};
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

std::uint64_t measureCounter() {
    constexpr std::int64_t span = 50'000'000;
    const Moment start = readMoment();
    while (tern_system_time() - start.nanoseconds < span)
        tern_yield();
    const Moment end = readMoment();
    return static_cast<std::uint64_t>(
        std::llround(static_cast<double>(end.ticks - start.ticks) * 1e9 /
                     static_cast<double>(end.nanoseconds - start.nanoseconds)));
}

}  // namespace

NumberList affinity() {
    NumberList cpus;
    CpuSet own;
    if (own.readOwn())
        for (unsigned cpu = 0; cpu < CpuSet::mostCpus; ++cpu)
            if (own.has(cpu))
                cpus.push_back(cpu);
    return cpus;
}

Visit visitCpus(const NumberList& cpus) {
    Visit visit;
    CpuSet own;
    if (!own.readOwn())  // it could not be restored
        return visit;
    for (const unsigned cpu : cpus) {
        if (!moveTo(cpu))
            continue;
        visit.apicIds[cpu] = apicId();
        if (!visit.counterHz)
            visit.counterHz = measureCounter();
    }
    static_cast<void>(own.makeOwn());  // the kernel takes back what it gave
    return visit;
}

}  // namespace machine
