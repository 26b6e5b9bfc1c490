// The share kernels: alone, beside a neighbour in the same cache line, and in lines apart.
#include <sched.h>

#include <atomic>
#include <thread>
#include <vector>

#include "kernels/bracket.h"
#include "kestrel/kernels.h"
#include "sample.h"
#include "table.h"
#include "worker_impl/pin.h"

namespace bench {
namespace {

using Kernel = std::uint64_t (*)(std::byte* slot, std::uint32_t operations);

/// Two lines apart: some processors fetch lines in pairs.
constexpr std::uint32_t sameLine = 8, linesApart = 128;
constexpr std::uint32_t operations = 4096;

struct Row {
    const char* kernel;
    Kernel run;
    const char* beside;
    std::uint32_t neighbourOffset;  ///< of the neighbour's slot; 0 where there is none
    Samples samples{};
};

/// Adds to a slot of its own on another CPU for as long as it lives.
class Neighbour {
  public:
    Neighbour(std::uint32_t cpu, std::byte* slot) : thread([=, this] { work(cpu, slot); }) {
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
    void work(std::uint32_t cpu, std::byte* slot) {
        Kestrel::pinThread(cpu);
        running = true;
        while (!stop)
            kestrel___share_lms(slot, operations);
    }

    std::atomic<bool> running = false, stop = false;
    std::thread thread;
};

/// A CPU besides `own` that the calling thread, which is pinned to `own`, may run on.
std::optional<std::uint32_t> otherCpu(std::uint32_t own) {
    std::optional<std::uint32_t> found;
    for (std::uint32_t cpu = 0; cpu < CPU_SETSIZE && !found; ++cpu)
        if (cpu != own && Kestrel::pinThread(cpu))
            found = cpu;
    Kestrel::pinThread(own);
    return found;
}

/// The plain instruction in a loop: what a share kernel should reach without a neighbour.
std::uint64_t plainAdd(std::byte* slot, std::uint32_t times) {
    return Kestrel::timed([=] {
        for (std::uint32_t i = times; i != 0; --i)
            asm volatile("add %1, (%0)" : : "r"(slot), "r"(std::uintptr_t{1}) : "memory");
    });
}

std::uint64_t plainLoad(std::byte* slot, std::uint32_t times) {
    return Kestrel::timed([=] {
        std::uintptr_t value;
        for (std::uint32_t i = times / 16; i != 0; --i)
            asm volatile(".rept 16; mov (%1), %0; .endr" : "=&r"(value) : "r"(slot) : "memory");
    });
}

class ShareTable : public Table {
  public:
    explicit ShareTable(const Context& given) : context(given), other(otherCpu(given.cpu)) {
        all = {{"plain add", plainAdd, "alone", 0},
               {"kestrel___share_lms", kestrel___share_lms, "alone", 0},
               {"plain load", plainLoad, "alone", 0},
               {"kestrel___share_lms_l", kestrel___share_lms_l, "alone", 0}};
        if (!other)
            return;
        for (const auto& [beside, offset] : {std::pair("a writer in the line", sameLine),
                                             std::pair("a writer lines apart", linesApart)}) {
            all.push_back({"kestrel___share_lms", kestrel___share_lms, beside, offset});
            all.push_back({"kestrel___share_lms_l", kestrel___share_lms_l, beside, offset});
        }
    }

    [[nodiscard]] const char* name() const override { return "share"; }
    [[nodiscard]] const char* legend() const override {
        return "core cycles an operation: the best alone; beside a worker on another CPU, where "
               "there is one, the median, since the best is a sample that met no contention";
    }
    void sample() override {
        for (Row& row : all) {
            std::optional<Neighbour> neighbour;
            if (row.neighbourOffset != 0)
                neighbour.emplace(*other, context.memory.data() + row.neighbourOffset);
            row.samples.add(sampleCalls(context.ticksPerSecond, [&] {
                return row.run(context.memory.data(), operations);
            }));
        }
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const Row& row : all) {
            const double cycles =
                row.neighbourOffset != 0 ? row.samples.medianCycles() : row.samples.bestCycles();
            shown.push_back({{"kernel", row.kernel},
                             {"beside", row.beside},
                             {"cycle/op", numberOrNull(ratio(cycles, operations))}});
        }
        return shown;
    }

  private:
    Context context;
    std::optional<std::uint32_t> other;
    std::vector<Row> all;
};

}  // namespace

std::unique_ptr<Table> makeShareTable(const Context& context) {
    return std::make_unique<ShareTable>(context);
}

}  // namespace bench
