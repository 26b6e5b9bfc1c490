#include "kestrel/worker.h"

#include <boost/bind/bind.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/locks.hpp>
#include <memory>
#include <new>

#include "debugkit/assert.h"
#include "frequency.h"
#include "pin.h"
#include "tern/run_services.h"
#include "tern/threads.h"

// Reports a broken invariant and carries on. The path names the folder: files move, and a report
// should read the same from every build.
#define CHECK(condition)                                                                      \
    ((condition) ? void()                                                                     \
                 : debugkit::assertionFailed(#condition, "kestrel/src/worker_impl", __LINE__, \
                                             __PRETTY_FUNCTION__))

namespace Kestrel {

Worker::Worker(std::uint32_t cpu, IPattern* pattern, IArray* array, WorkerResult* results,
               const RunPhase* phase)
    : cpu(cpu), pattern(pattern), array(array), results(results), phase(phase) {}

Worker::Error Worker::create(std::uint32_t cpu, IPattern* pattern, IArray* array,
                             WorkerResult* results, const RunPhase* phase, Worker** out) {
    try {
        std::unique_ptr<Worker> worker(new Worker(cpu, pattern, array, results, phase));
        const Error error = worker->start();
        if (error != eOk) {
            worker->join();  // it has finished, or was never started: nothing stays behind
            return error;
        }
        *out = worker.release();
        return eOk;
    } catch (const std::bad_alloc&) {
        return eNoMemory;
    } catch (const boost::thread_resource_error&) {
        return eThreadCreateFailed;  // its mutex could not be made
    }
}

Worker::Error Worker::errorOf(std::uint32_t outcome) {
    static_assert(eOk == +teNone && eInvalidArgument == +teInvalidArgument &&
                  eAffinityFailed == +teAffinity && eFrequencyFailed == +teFrequency);
    return outcome >= teNone && outcome <= teFrequency ? static_cast<Error>(outcome) : eUnknown;
}

Worker::Error Worker::start() {
    const boost::unique_lock<boost::recursive_mutex> lock(mutex);
    std::uint32_t currentState = state.load();
    CHECK(currentState == tsNotStarted);
    try {
        thread = boost::thread(
            boost::bind(&Worker::WorkerThread, this));  // NOLINT(modernize-avoid-bind)
    } catch (const boost::thread_resource_error&) {
        return eThreadCreateFailed;
    }
    for (;;) {
        currentState = state.load();
        if (currentState == tsRunning)
            return eOk;
        if (currentState == tsFinished)
            return errorOf(error.load());
        CHECK(currentState == tsNotStarted);
        tern_yield();
    }
}

void Worker::WorkerThread() {
    ThreadError outcome = teNone;
    kernelThread = tern_get_thread_id();
    if (!pinThread(cpu)) {
        outcome = teAffinity;
    } else {
        const std::uint32_t prevState = state.exchange(tsRunning);
        CHECK(prevState == tsNotStarted);
        outcome = measureAndRun();
    }
    // The outcome before the state: whoever sees the thread finished also sees how.
    const std::uint32_t prevError = error.exchange(outcome);
    CHECK(prevError == teUnknown);
    const std::uint32_t prevState = state.exchange(tsFinished);
    CHECK(prevState == tsNotStarted || prevState == tsRunning);
}

ThreadError Worker::measureAndRun() {
    results->frequency = measureFrequency();
    if (results->frequency == 0)
        return teFrequency;
    if (array == nullptr || pattern == nullptr)
        return teInvalidArgument;
    array->run(*pattern, *results, *phase);
    return teNone;
}

Worker::Error Worker::join() {
    const boost::unique_lock<boost::recursive_mutex> lock(mutex);
    if (!thread.joinable())
        return eNotJoinable;
    thread.join();
    return eOk;
}

Worker::Error Worker::destroy(Worker* worker) {
    if (worker == nullptr)
        return eInvalidArgument;
    const Error joined = worker->join();
    delete worker;
    return joined;
}

}  // namespace Kestrel
