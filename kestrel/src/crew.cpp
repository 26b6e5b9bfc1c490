#include "crew.h"

#include <algorithm>
#include <climits>
#include <ctime>
#include <utility>

#include "tern/run_services.h"

namespace Kestrel {
namespace {

void sleepFor(std::chrono::milliseconds time) {
    constexpr std::int64_t second = 1000, nanoseconds = 1000000;
    timespec span{};
    // A 32-bit time_t is signed; 68 years serve as well as 136.
    span.tv_sec = static_cast<time_t>(std::min<std::int64_t>(time.count() / second, INT_MAX));
    span.tv_nsec = static_cast<long>(time.count() % second * nanoseconds);
    nanosleep(&span, nullptr);
}

/// False where the worker has ended without getting ready: it could not measure or prepare.
bool waitUntilReady(const Worker& worker, const WorkerResult& result) {
    while (result.ready.load(std::memory_order_acquire) != 1) {
        // One that got ready could not end yet: it waits for the phase.
        if (worker.finished())
            return false;
        tern_yield();
    }
    return true;
}

}  // namespace

Crew::Crew(CrewOrder given)
    : order(std::move(given)),
      arrays(order.cpus.size()),
      slots(std::make_unique<WorkerSlot[]>(order.cpus.size())) {}

Crew::~Crew() {
    // Workers that still wait would wait for ever: the word that they look at is about to go.
    finish();
    for (std::size_t i = 0; i < size(); ++i)
        end(i);
}

CrewFailure Crew::assemble() noexcept {
    for (std::size_t i = 0; i < size(); ++i)
        if (const CrewFailure failure = assembleOne(i); failure.cause != CrewFailure::none)
            return failure;
    return {};
}

CrewFailure Crew::assembleOne(std::size_t i) {
    OwnedArray& array = arrayOf(i);
    if (array == nullptr) {
        IArray* made = nullptr;
        const Array::Error error =
            Array::create(order.arraySize, order.pages, &order.nodes, nodeBitCount, &made);
        if (error != Array::aeOk)
            return {CrewFailure::noArray, i, error};
        array.reset(static_cast<Array*>(made));
    }
    WorkerSlot& slot = slots[i];
    slot.result.workerIndex = static_cast<std::uint32_t>(i);
    Worker* worker = nullptr;
    const Worker::Error error =
        Worker::create(order.cpus[i], order.pattern, array.get(), &slot.result, &phase, &worker);
    if (error != Worker::eOk)
        return {CrewFailure::noWorker, i, error};
    slot.worker.reset(worker);
    if (!waitUntilReady(*worker, slot.result))
        return {CrewFailure::notPrepared, i, 0};
    return {};
}

void Crew::run(const Schedule& schedule) {
    start();
    sleepFor(schedule.warmUp);
    count();
    sleepFor(schedule.measured);
    stopCounting();
    sleepFor(schedule.coolDown);
    finish();
}

bool Crew::finishSoon() {
    finish();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (!allHave([](const WorkerSlot& it) { return !it.worker || it.worker->finished(); })) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        tern_yield();
    }
    return true;
}

Placement Crew::placement() const {
    Placement all;
    for (const OwnedArray& array : arrays)
        if (array != nullptr)
            all.add(placementOf(array->memory()));
    return all;
}

WorkerReport Crew::end(std::size_t i) {
    WorkerSlot& slot = slots[i];
    OwnedArray& array = arrayOf(i);
    const long threadId = slot.worker != nullptr ? slot.worker->threadId() : 0;
    const std::size_t arrayBytes = array != nullptr ? array->memory().size() : 0;
    slot.worker.reset();
    if (!order.sharedArray || allHave([](const WorkerSlot& it) { return it.worker == nullptr; }))
        array.reset();
    return {slot.result.workerIndex, order.cpus[i], threadId,
            static_cast<std::uint32_t>(arrayBytes), slot.result};
}

bool Crew::allHave(bool (*property)(const WorkerSlot&)) const {
    return std::all_of(slots.get(), slots.get() + size(), property);
}

}  // namespace Kestrel
