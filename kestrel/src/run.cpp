#include "run.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kestrel/array.h"
#include "kestrel/worker.h"
#include "mask.h"
#include "output.h"
#include "pattern_table.h"
#include "report.h"
#include "tern/run_services.h"

namespace Kestrel {
namespace {

/// The first NUMA nodes fit the set's bits; no kernel call here names others.
constexpr std::uint32_t nodeBitCount = 32;

struct EndWorker {
    void operator()(Worker* worker) const { Worker::destroy(worker); }
};

struct WorkerSlot {
    std::unique_ptr<Worker, EndWorker> worker;
    std::shared_ptr<IArray> array;  ///< the worker's own, or one that all slots hold
    WorkerResult result;
};

/// A sleep that a signal interrupts is not resumed.
void sleepSeconds(std::uint32_t seconds) {
    timespec time{};
    // A 32-bit time_t is signed; 68 years serve as well as 136.
    time.tv_sec = static_cast<time_t>(std::min<std::uint32_t>(seconds, INT_MAX));
    nanosleep(&time, nullptr);
}

/// The workers of a run and their arrays. Whatever happens, none outlives it.
class Crew {
  public:
    Crew(const PatternSelection& selection, const std::vector<unsigned>& cpus,
         unsigned long nodeBits)
        : selection(selection),
          cpus(cpus),
          nodeBits(nodeBits),
          slots(std::make_unique<WorkerSlot[]>(cpus.size())) {}
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    ~Crew() {
        // Workers that still wait would wait for ever: the word that they look at is about to go.
        enter(rpFinish);
        for (std::size_t i = 0; i < cpus.size(); ++i)
            end(i);
    }

    /// Tells all workers to finish; false where one has not after half a second. A worker that is
    /// woken up makes one pass before it ends, and a pass can take a minute.
    bool finishSoon() {
        enter(rpFinish);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        const auto allFinished = [&] {
            return std::all_of(slots.get(), slots.get() + cpus.size(), [](const WorkerSlot& slot) {
                return slot.worker == nullptr || slot.worker->finished();
            });
        };
        while (!allFinished()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            tern_yield();
        }
        return true;
    }

    /// Creates the workers one after the other, each ready before the next: they are pinned,
    /// measured and prepared without disturbing one another. Returns an error text, or null.
    const char* assemble() {
        for (std::size_t i = 0; i < cpus.size(); ++i)
            if (const char* const error = assembleOne(i))
                return error;
        return nullptr;
    }

    /// One counted pass each for a duration of 0, else a second to warm up, the measured seconds,
    /// and a second that keeps all workers busy until the last has stopped counting.
    void measure(std::uint32_t duration) {
        if (duration == 0) {
            enter(rpSinglePass);
            return;
        }
        enter(rpTimed);
        sleepSeconds(1);
        enter(rpMeasure);
        sleepSeconds(duration);
        enter(rpStopMeasure);
        sleepSeconds(1);
        enter(rpFinish);
    }

    /// Joins worker i, releases its array, a shared one with the last worker that holds it, and
    /// returns the result.
    const WorkerResult& end(std::size_t i) {
        slots[i].worker.reset();
        slots[i].array.reset();
        return slots[i].result;
    }

  private:
    const char* assembleOne(std::size_t i) {
        WorkerSlot& slot = slots[i];
        slot.array = selection.row->sharedArray && i != 0 ? slots[0].array : newArray();
        if (slot.array == nullptr)
            return "No memory";
        slot.result.workerIndex = static_cast<std::uint32_t>(i);
        Worker* worker = nullptr;
        if (Worker::create(cpus[i], selection.pattern.get(), slot.array.get(), &slot.result, &phase,
                           &worker) != Worker::eOk)
            return "Worker creation error";
        slot.worker.reset(worker);
        return waitUntilReady(slot) ? nullptr : "Worker preparation error";
    }

    std::shared_ptr<IArray> newArray() {
        IArray* array = nullptr;
        if (Array::create(selection.arraySize, pkSystem, &nodeBits, nodeBitCount, &array) !=
            Array::aeOk)
            return nullptr;
        return {array, Array::destroy};
    }

    /// False where the worker has ended without getting ready: it could not measure or prepare.
    static bool waitUntilReady(const WorkerSlot& slot) {
        while (slot.result.ready.load(std::memory_order_acquire) != 1) {
            // One that got ready could not end yet: it waits for the phase.
            if (slot.worker->finished())
                return false;
            tern_yield();
        }
        return true;
    }

    void enter(RunPhaseValue value) { atomicStore(&phase, value, std::memory_order_release); }

    const PatternSelection& selection;
    const std::vector<unsigned>& cpus;
    unsigned long nodeBits;
    RunPhase phase = rpWait;
    std::unique_ptr<WorkerSlot[]> slots;
};

/// The bit set of the nodes of a mask text; false where the text is no list of such nodes.
bool parseNodes(const std::string& text, unsigned long& nodeBits) {
    std::vector<unsigned> nodes;
    if (parseMask(text, nodes) != meOk ||
        std::ranges::any_of(nodes, [](unsigned node) { return node >= nodeBitCount; }))
        return false;
    nodeBits = 0;
    for (const unsigned node :
         std::span(nodes).first(std::min<std::size_t>(nodes.size(), nodeBitCount)))
        nodeBits |= 1ul << node;
    return true;
}

/// Ends the workers one by one and prints their lines, then the total.
void report(Crew& crew, const std::vector<unsigned>& cpus, const PatternSelection& selection,
            const BenchmarkSettings& settings) {
    double total = 0;
    for (std::size_t i = 0; i < cpus.size(); ++i) {
        const WorkerResult& result = crew.end(i);
        if (selection.row->accessTimeLine)
            printLine(accessTimeLine(result, cpus[i], settings.size).c_str());
        if (settings.bandwidth) {
            total += bandwidth(result);
            printLine(bandwidthLine(result, cpus[i], selection.arraySize).c_str());
        }
    }
    if (settings.bandwidth)
        printLine(totalLine(total).c_str());
}

int fail(const char* error) {
    printError(error);
    return -1;
}

}  // namespace

int runBenchmark(const BenchmarkSettings& settings) {
    unsigned long nodeBits = 0;
    if (!parseNodes(settings.nodeMask, nodeBits))
        return fail("Node mask conversion error");
    std::vector<unsigned> cpus;
    if (parseMask(settings.cpuMask, cpus) != meOk)
        return fail("Cpu mask conversion error");
    const PatternSelection selection =
        selectPattern(settings, static_cast<std::uint32_t>(cpus.size()));
    Crew crew(selection, cpus, nodeBits);
    if (const char* const error = crew.assemble()) {
        const int status = fail(error);
        if (!crew.finishSoon())
            std::_Exit(status);  // which ends the workers in the middle of their passes
        return status;
    }
    crew.measure(settings.duration);
    report(crew, cpus, selection, settings);
    return 0;
}

}  // namespace Kestrel
