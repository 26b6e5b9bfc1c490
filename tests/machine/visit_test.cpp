// The facts that come from visiting the CPUs of this machine.
#include <gtest/gtest.h>
#include <sched.h>

#include "machine/facts.h"
#include "tern/run_services.h"
#include "tern/time.h"

TEST(Facts, CpusAreVisitedWhereAllowedAndTheCounterMeasured) {
    cpu_set_t before, after, here;
    sched_getaffinity(0, sizeof before, &before);
    CPU_ZERO(&here);
    CPU_SET(sched_getcpu(), &here);
    machine::gatherFacts();
    sched_getaffinity(0, sizeof after, &after);
    EXPECT_TRUE(CPU_EQUAL(&before, &after));
    sched_setaffinity(0, sizeof here, &here);
    const std::int64_t start = tern_system_time();
    const std::uint64_t first_tick = tern_read_tsc();
    const auto facts = machine::gatherFacts();
    const auto ticks = static_cast<double>(tern_read_tsc() - first_tick);
    const auto seconds = static_cast<double>(tern_system_time() - start) / 1e9;
    sched_getaffinity(0, sizeof after, &after);
    sched_setaffinity(0, sizeof before, &before);
    EXPECT_TRUE(CPU_EQUAL(&here, &after));
    EXPECT_NEAR(static_cast<double>(facts.processor.counterHz.value()) * seconds / ticks, 1, 0.1);
    for (const machine::Cpu& cpu : facts.topology.cpus) {
        EXPECT_EQ(cpu.allowed, CPU_ISSET(cpu.number, &here));
        EXPECT_EQ(cpu.apicId.has_value(), CPU_ISSET(cpu.number, &here));
    }
}
