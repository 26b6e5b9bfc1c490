#include "operation_table.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "core_clock.h"
#include "kernels/bracket.h"
#include "kestrel/kernels.h"
#include "patterns/list_pattern.h"

namespace bench {
namespace {

constexpr std::uint32_t kibibyte = 1024, mebibyte = 1024 * kibibyte;
constexpr std::uint32_t line = 64;

/// A bare chain of `count` dependent loads.
std::uint64_t plainChain(const std::byte* head, std::uint32_t count) {
    return Kestrel::timed([=]() mutable {
        for (; count != 0; --count)
            asm volatile("mov (%0), %0" : "+r"(head) : : "memory");
    });
}

std::uint64_t plainAdditions(std::byte* slot, std::uint32_t count) {
    return Kestrel::timed([=]() mutable {
        for (; count != 0; --count)
            asm volatile("add %1, (%0)" : : "r"(slot), "r"(std::uintptr_t{1}) : "memory", "cc");
    });
}

std::uint64_t plainLoads(const std::byte* slot, std::uint32_t count) {
    return Kestrel::timed([=]() mutable {
        std::uintptr_t value = 0;
        for (; count != 0; --count)
            asm volatile("mov (%1), %0" : "=r"(value) : "r"(slot) : "memory");
    });
}

OperationRow listRow(std::span<std::byte> memory, std::uint32_t size, std::uint32_t stride) {
    std::byte* const head = memory.data();
    const std::uint32_t count = size / stride;
    const std::string sizeText = size >= mebibyte ? std::to_string(size / mebibyte) + " MiB"
                                                  : std::to_string(size / kibibyte) + " KiB";
    OperationRow row{"kestrel___list",
                     sizeText + ", stride " + std::to_string(stride),
                     static_cast<double>(count),
                     {[=] { return kestrel___list(head, count); }}};
    row.plain.call = [=] { return plainChain(head, count); };
    row.prepare = [=] {
        Kestrel::PatternState state{};
        Kestrel::ListLPattern(stride).prepare(head, size, {}, state);
        kestrel___list(head, count);  // what fits into a cache is there
    };
    return row;
}

/// Another thread that adds to a word without pause.
class Neighbour {
  public:
    Neighbour(std::byte* slot, std::uint32_t cpu)
        : thread([this, slot, cpu] {
              cpu_set_t set;
              CPU_ZERO(&set);
              CPU_SET(cpu, &set);
              sched_setaffinity(0, sizeof set, &set);
              running = true;
              while (!stop)
                  kestrel___share_lms(slot, 10000);
          }) {
        while (!running)
            std::this_thread::yield();
    }
    ~Neighbour() {
        stop = true;
        thread.join();
    }
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

  private:
    std::atomic<bool> running = false, stop = false;
    std::thread thread;
};

using ShareKernel = std::uint64_t(std::byte*, std::uint32_t);
using PlainLoop = std::uint64_t(std::byte*, std::uint32_t);

struct ShareWork {
    const char* name;
    std::uint32_t distance;  ///< of the neighbour's word; 0 for none
};

void addShareRows(std::vector<OperationRow>& rows, const char* name, ShareKernel* kernel,
                  PlainLoop* plain, std::byte* slot, std::optional<std::uint32_t> otherCpu) {
    constexpr std::uint32_t count = 100'000;
    for (const ShareWork& work : {ShareWork{"alone", 0}, ShareWork{"neighbour in the line", 8},
                                  ShareWork{"neighbour four lines on", 4 * line}}) {
        if (work.distance != 0 && !otherCpu)
            continue;
        OperationRow row{name, work.name, count, {[=] { return kernel(slot, count); }}};
        if (work.distance == 0) {
            row.plain.call = [=] { return plain(slot, count); };
        } else {
            const auto neighbour = std::make_shared<std::unique_ptr<Neighbour>>();
            row.prepare = [=] {
                *neighbour = std::make_unique<Neighbour>(slot + work.distance, *otherCpu);
            };
            row.cleanUp = [=] { neighbour->reset(); };
        }
        rows.push_back(std::move(row));
    }
}

/// A CPU beside that one, if the process may use any.
std::optional<std::uint32_t> anotherCpu(std::uint32_t cpu) {
    const auto count = static_cast<std::uint32_t>(sysconf(_SC_NPROCESSORS_ONLN));
    return count > 1 ? std::optional((cpu + 1) % count) : std::nullopt;
}

}  // namespace

void Cycles::sample() {
    constexpr std::uint64_t longEnough = 100'000;
    const CoreClock clock;
    std::uint64_t ticks = 0, calls = 0;
    for (; ticks < longEnough; ++calls)
        ticks += call();
    const double rate = clock.cyclesPerTick();
    if (rate != 0)
        samples.push_back(rate * static_cast<double>(ticks) / static_cast<double>(calls));
}

double Cycles::least() const {
    return samples.empty() ? 0 : *std::ranges::min_element(samples);
}

double Cycles::median() const {
    if (samples.empty())
        return 0;
    std::vector<double> sorted = samples;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    return *middle;
}

std::optional<double> OperationRow::plainCyclesPerOperation() const {
    return plain.call ? std::optional(plain.least() / operations) : std::nullopt;
}

void OperationRow::sample() {
    if (prepare)
        prepare();
    // In turn, as the first of two walks finds the caches otherwise than the second.
    plainFirst = !plainFirst;
    if (plainFirst && plain.call)
        plain.sample();
    measured.sample();
    if (!plainFirst && plain.call)
        plain.sample();
    if (cleanUp)
        cleanUp();
}

std::vector<OperationRow> arithmeticRows(const std::optional<ArithmeticLimits>& limits) {
    constexpr std::uint32_t instructions = 16 * 20'000;
    std::vector<OperationRow> rows;
    for (const Kestrel::FlopKernel& kernel : Kestrel::flopKernels) {
        if (kernel.run(1) == 0)
            continue;
        const std::uint32_t loops = instructions / kernel.instructionsPerLoop;
        const std::uint32_t bytes = kernel.lanes * (kernel.precision == Kestrel::fp_single ? 4 : 8);
        OperationRow row{std::string(kernel.name), "registers", instructions, {[&kernel, loops] {
                             return kernel.run(loops);
                         }}};
        row.flopsPerOperation = kernel.flopsPerInstruction();
        if (limits)
            row.limit = limits->perCycle(kernel.operation == Kestrel::fo_add, bytes);
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<OperationRow> latencyRows(std::span<std::byte> memory, std::uint32_t cpu) {
    std::vector<OperationRow> rows;
    for (const std::uint32_t size : {16 * kibibyte, 256 * kibibyte, 8 * mebibyte, 512 * mebibyte})
        for (const std::uint32_t stride : {line, 4 * line, 4096u})
            if (size <= memory.size() && size / stride >= line)
                rows.push_back(listRow(memory, size, stride));
    const auto other = anotherCpu(cpu);
    addShareRows(rows, "kestrel___share_lms", kestrel___share_lms, plainAdditions, memory.data(),
                 other);
    addShareRows(
        rows, "kestrel___share_lms_l", kestrel___share_lms_l,
        [](std::byte* slot, std::uint32_t count) { return plainLoads(slot, count); }, memory.data(),
        other);
    return rows;
}

}  // namespace bench
