#include "run.h"

#include <cstdlib>
#include <new>
#include <vector>

#include "crew.h"
#include "mask.h"
#include "output.h"
#include "pattern_table.h"
#include "report.h"

namespace Kestrel {
namespace {

/// A second to warm up, and one that keeps all workers busy until the last has stopped counting.
Schedule scheduleFor(std::uint32_t duration) {
    using std::chrono::seconds;
    return {.warmUp = seconds(1), .measured = seconds(duration), .coolDown = seconds(1)};
}

const char* textOf(CrewFailure::Cause cause) {
    switch (cause) {
        case CrewFailure::noWorker:
            return "Worker creation error";
        case CrewFailure::notPrepared:
            return "Worker preparation error";
        default:
            return "No memory";
    }
}

/// Ends the workers one by one and prints their lines, then the total.
void report(Crew& crew, const PatternSelection& selection, const BenchmarkSettings& settings) {
    double total = 0;
    for (std::size_t i = 0; i < crew.size(); ++i) {
        const auto [worker, cpu, threadId, arrayBytes, result] = crew.end(i);
        if (selection.row->countsAccesses())
            printLine(accessTimeLine(result, cpu, settings.size).c_str());
        if (settings.bandwidth) {
            total += bandwidth(result);
            printLine(bandwidthLine(result, cpu, selection.arraySize).c_str());
        }
    }
    if (settings.bandwidth)
        printLine(totalLine(total).c_str());
}

/// Prints the error, and ends the process where workers are still in the middle of a pass.
int abandon(Crew& crew, const char* error) {
    const int status = fail(error);
    if (!crew.finishSoon())
        std::_Exit(status);
    return status;
}

int measureWith(Crew& crew, const PatternSelection& selection, const BenchmarkSettings& settings) {
    const CrewFailure failure = crew.assemble();
    if (failure.cause != CrewFailure::none)
        return abandon(crew, textOf(failure.cause));
    if (settings.duration == 0)
        crew.runOnce();
    else
        crew.run(scheduleFor(settings.duration));
    report(crew, selection, settings);
    return 0;
}

}  // namespace

int runBenchmark(const BenchmarkSettings& settings) {
    unsigned long nodes = 0;
    if (!parseNodes(settings.nodeMask, nodes))
        return fail("Node mask conversion error");
    std::vector<unsigned> cpus;
    if (parseMask(settings.cpuMask, cpus) != meOk)
        return fail("Cpu mask conversion error");
    const PatternSelection selection =
        selectPattern(settings, static_cast<std::uint32_t>(cpus.size()));
    Crew crew({.pattern = selection.pattern.get(),
               .cpus = std::move(cpus),
               .arraySize = selection.arraySize,
               .sharedArray = selection.row->sharesArray(),
               .nodes = nodes});
    try {
        return measureWith(crew, selection, settings);
    } catch (const std::bad_alloc&) {
        return abandon(crew, "No memory");
    }
}

}  // namespace Kestrel
