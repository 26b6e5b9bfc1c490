/// Workers on CPUs, with arrays on nodes, that run one pattern together.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "kestrel/array.h"
#include "kestrel/worker.h"
#include "placement.h"

namespace Kestrel {

/// What a crew is made of.
struct CrewOrder {
    IPattern* pattern = nullptr;      ///< stays the caller's, and outlives the crew
    std::vector<std::uint32_t> cpus;  ///< a worker for each entry
    std::uint32_t arraySize = 0;      ///< bytes, rounded up to whole pages
    bool sharedArray = false;         ///< one array for all workers instead of one for each
    unsigned long nodes = 1;          ///< bit n stands for node n, 0 to 31
    PageKind pages = pkSystem;
};

/// Why a crew could not be assembled.
struct CrewFailure {
    enum Cause : std::uint32_t { none, noArray, noWorker, notPrepared };
    Cause cause = none;
    std::size_t worker = 0;         ///< the first that failed, by its position in the order
    std::uint32_t errorBehind = 0;  ///< an Array::Error for noArray, a Worker::Error for noWorker
};

/// How long the workers make passes before, while and after passes are counted.
struct Schedule {
    std::chrono::milliseconds warmUp, measured, coolDown;
};

/// What a worker leaves behind.
struct WorkerReport {
    std::uint32_t worker;  ///< its position in the order
    std::uint32_t cpu;
    long threadId;             ///< the kernel's
    std::uint32_t arrayBytes;  ///< of the array that it worked on, whole pages
    const WorkerResult& result;
};

/// The caller's thread does everything here; the workers only follow the phase. Crews know nothing
/// of one another, and any number of them may be at work at the same time.
class Crew {
  public:
    /// Throws std::bad_alloc.
    explicit Crew(CrewOrder given);
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;
    /// Tells the workers to finish and waits for them, however long their last pass takes. Whoever
    /// cannot wait calls finishSoon first, and ends the process where that says no.
    ~Crew();

    /// Creates the workers one after the other, each ready before the next, so that they are
    /// pinned, measure their counters and prepare without disturbing one another. After a failure
    /// the crew is only good for being ended.
    CrewFailure assemble() noexcept;

    /// The course of a run: passes; passes that count; passes that no longer do; the end, after the
    /// pass under way. Each returns at once.
    void start() { enter(rpTimed); }
    void count() { enter(rpMeasure); }
    void stopCounting() { enter(rpStopMeasure); }
    void finish() { enter(rpFinish); }
    /// All of it by the clock. A signal cuts short the sleep that it interrupts.
    void run(const Schedule& schedule);
    /// Instead: a single pass for each worker, which counts.
    void runOnce() { enter(rpSinglePass); }

    /// Tells the workers to finish; false where one has not after half a second. (Also a worker
    /// that has not begun makes one pass before it ends, and a pass can take a minute.)
    [[nodiscard]] bool finishSoon();

    [[nodiscard]] std::size_t size() const { return order.cpus.size(); }
    /// Of worker i, once it is assembled and until it ends.
    [[nodiscard]] long threadId(std::size_t i) const { return slots[i].worker->threadId(); }
    /// Where the pages of all arrays lie, once the crew is assembled. The kernel takes other nodes
    /// than were asked for where those have no memory left, and says nothing.
    [[nodiscard]] Placement placement() const;

    /// Waits for worker i to end, after the last phase, releases its array (a shared one with the
    /// last worker that holds it) and hands over what it obtained. The result lives as long as the
    /// crew.
    WorkerReport end(std::size_t i);

  private:
    struct EndWorker {
        void operator()(Worker* worker) const { Worker::destroy(worker); }
    };
    struct ReleaseArray {
        void operator()(IArray* array) const { Array::destroy(array); }
    };
    using OwnedArray = std::unique_ptr<Array, ReleaseArray>;

    /// Two cache lines from the next, as some processors fetch lines in pairs: after each pass a
    /// worker adds to its result.
    struct alignas(128) WorkerSlot {
        std::unique_ptr<Worker, EndWorker> worker;
        WorkerResult result;
    };

    CrewFailure assembleOne(std::size_t i);
    OwnedArray& arrayOf(std::size_t i) { return arrays[order.sharedArray ? 0 : i]; }
    [[nodiscard]] bool allHave(bool (*property)(const WorkerSlot&)) const;
    void enter(RunPhaseValue value) { atomicStore(&phase, value, std::memory_order_release); }

    CrewOrder order;
    RunPhase phase = rpWait;
    std::vector<OwnedArray> arrays;  ///< one for each worker, or only the first
    std::unique_ptr<WorkerSlot[]> slots;
};

}  // namespace Kestrel
