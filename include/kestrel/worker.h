/// One benchmark thread, bound to one CPU.
#pragma once

#include <atomic>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>
#include <cstdint>

#include "kestrel/array.h"
#include "kestrel/pattern.h"

namespace Kestrel {

/// Where a worker's thread is. Written only by that thread after construction.
enum ThreadState : std::uint32_t {
    tsNotStarted = 1,  ///< it has not yet pinned itself
    tsRunning = 2,     ///< pinned; measuring the counter's rate or running the pattern
    tsFinished = 3,    ///< the body has ended; the error holds its outcome
};

/// Outcome of a worker's thread. Written once, by the thread, before it is finished.
enum ThreadError : std::uint32_t {
    teUnknown = 0,
    teNone = 1,  ///< no failure of its own; the pattern's status is not examined
    teInvalidArgument = 2,
    teAffinity = 3,
    teFrequency = 4,
};

class Worker {
  public:
    enum Error : std::uint32_t {
        eUnknown = 0,
        eOk = 1,
        eInvalidArgument = 2,
        eAffinityFailed = 3,
        eFrequencyFailed = 4,
        eThreadCreateFailed = 5,
        eNotJoinable = 6,
        eNoMemory = 8,
    };

    /// Makes a worker and starts its thread on that CPU, by the kernel's number (0 to 1023);
    /// returns once the thread is pinned and running, or has finished. Stores the worker only on
    /// success (eOk); the caller owns it and ends it with `destroy`. The other pointers stay the
    /// caller's and outlive it.
    static Error create(std::uint32_t cpu, IPattern* pattern, IArray* array, WorkerResult* results,
                        const RunPhase* phase, Worker** out);

    /// Joins the thread and deletes the worker. Returns the result of the join.
    static Error destroy(Worker* worker);

    /// Waits for the thread to end. A second call returns eNotJoinable.
    Error join();

    /// True once the thread's body has ended; then nothing in its result record changes any more.
    [[nodiscard]] bool finished() const { return state.load() == tsFinished; }

    /// The kernel's id of the thread, under which /proc/self/task knows it while it lives.
    [[nodiscard]] long threadId() const { return kernelThread.load(); }

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    virtual ~Worker() = default;

  private:
    Worker(std::uint32_t cpu, IPattern* pattern, IArray* array, WorkerResult* results,
           const RunPhase* phase);
    static Error errorOf(std::uint32_t outcome);
    Error start();
    void WorkerThread();
    ThreadError measureAndRun();

    std::uint32_t cpu;
    boost::thread thread;
    IPattern* pattern;
    IArray* array;
    WorkerResult* results;
    const RunPhase* phase;
    std::atomic<std::uint32_t> state = tsNotStarted;
    std::atomic<std::uint32_t> error = teUnknown;
    std::atomic<long> kernelThread = 0;
    boost::recursive_mutex mutex;
};

}  // namespace Kestrel
