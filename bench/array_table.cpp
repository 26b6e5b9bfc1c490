#include "array_table.h"

#include <algorithm>
#include <vector>

#include "kernels/instruction_sets.h"
#include "table.h"

namespace bench {
namespace {

using Kestrel::ArrayKernel;
using Kestrel::ArrayShape;

constexpr std::uint32_t kibibyte = 1024, mebibyte = 1024 * kibibyte;
constexpr std::uint32_t sizes[] = {16 * kibibyte, 256 * kibibyte, 8 * mebibyte, 512 * mebibyte};

/// Arrays up to this size fit the first-level cache of every processor in the table of limits.
constexpr std::uint32_t firstLevel = 32 * kibibyte;

/// What the program passes for arrays of that size.
std::uint32_t repeatFor(std::uint32_t size) {
    return size <= firstLevel ? 1000 : 1;
}

/// The widest registers that a kernel moves a word through.
std::uint32_t registerWidth(std::uint32_t word) {
    const std::uint32_t widest = Kestrel::instructionSets.avx512f ? 64
                                 : Kestrel::instructionSets.avx   ? 32
                                                                  : 16;
    return std::min(word, widest);
}

std::optional<double> limitOf(const ArrayKernel& kernel, std::uint32_t size,
                              const std::optional<ProcessorLimits>& limits) {
    // Non-temporal stores leave the caches, and their limit is the memory's, which no table has.
    if (!limits || size > firstLevel || kernel.shape == ArrayShape::fastmem)
        return std::nullopt;
    const double storesPerLoad = kernel.shape == ArrayShape::lls ? 0.5 : 0;
    return limits->bytesPerCycle(registerWidth(kernel.word), storesPerLoad);
}

class ArrayTable : public Table {
  public:
    explicit ArrayTable(const Context& given) : context(given) {
        constexpr std::uint32_t line = 64;
        for (const ArrayKernel& kernel : Kestrel::arrayKernels)
            for (const std::uint32_t size : sizes) {
                const bool strided = kernel.shape == ArrayShape::strided;
                const std::uint32_t stride =
                    strided ? std::max(line, 2 * kernel.word) : kernel.word;
                all.push_back({&kernel, stride, size, limitOf(kernel, size, context.limits)});
            }
    }

    [[nodiscard]] const char* name() const override { return "array"; }
    [[nodiscard]] const char* legend() const override {
        return "bytes a core cycle; \"net\" leaves out what a call costs however short it is; the "
               "limit is that of the load and store units, in the first-level cache";
    }
    void sample() override {
        for (ArrayRow& row : all)
            sampleArray(row, context.memory, context.ticksPerSecond);
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const ArrayRow& row : all) {
            const auto reached = row.bytesPerCycle();
            const auto share =
                row.limit && reached ? std::optional(100 * *reached / *row.limit) : std::nullopt;
            shown.push_back({{"kernel", row.kernel->name},
                             {"word", row.kernel->word},
                             {"stride", row.stride},
                             {"KiB", row.size / kibibyte},
                             {"B/cycle", numberOrNull(reached)},
                             {"net", numberOrNull(row.netBytesPerCycle())},
                             {"limit", numberOrNull(row.limit)},
                             {"share %", numberOrNull(share)},
                             {"GB/s", row.bytesPerSecond(context.ticksPerSecond) / 1e9}});
        }
        return shown;
    }

  private:
    Context context;
    std::vector<ArrayRow> all;
};

}  // namespace

std::uint64_t ArrayRow::bytesPerCall(std::uint32_t ofSize) const {
    const std::uint64_t sweep = std::uint64_t{ofSize / stride} * kernel->word;
    const bool repeats = kernel->argument == Kestrel::ArrayArgument::repeat;
    const bool threeQuarters =
        kernel->shape == ArrayShape::lls || kernel->shape == ArrayShape::fastmem;
    return (threeQuarters ? sweep * 3 / 4 : sweep) * (repeats ? repeatFor(size) : 1);
}

bool ArrayRow::isShort() const {
    // Half of fewer words would be over before the first reading of the counter is.
    constexpr std::uint32_t fewestWords = 256;
    return size <= firstLevel && size / stride >= fewestWords &&
           kernel->argument != Kestrel::ArrayArgument::repeat &&
           kernel->shape != ArrayShape::fastmem;  // bound by memory, not by its length
}

double ArrayRow::bytesPerSecond(double ticksPerSecond) const {
    return static_cast<double>(bytesPerCall(size)) / ticks.best() * ticksPerSecond;
}

std::optional<double> ArrayRow::bytesPerCycle() const {
    if (cycles.best() == 0)
        return std::nullopt;
    return static_cast<double>(bytesPerCall(size)) / cycles.best();
}

std::optional<double> ArrayRow::netBytesPerCycle() const {
    if (!isShort() || cyclesOfOtherHalf.median() == 0)
        return std::nullopt;
    return static_cast<double>(bytesPerCall(size) - bytesPerCall(size / 2)) /
           cyclesOfOtherHalf.median();
}

void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond) {
    const std::uint32_t argument =
        row.kernel->argument == Kestrel::ArrayArgument::stride ? row.stride : repeatFor(row.size);
    const auto sampleOf = [&](std::uint32_t size) {
        return sampleCalls(ticksPerSecond, [&] {
            return row.kernel->run(memory.data(), memory.data() + size, argument);
        });
    };
    const Sample whole = sampleOf(row.size);
    row.ticks.add(whole.ticksPerCall);
    row.cycles.add(whole.cyclesPerCall);
    if (row.isShort()) {
        const Sample half = sampleOf(row.size / 2);
        if (whole.cyclesPerCall != 0 && half.cyclesPerCall != 0)
            row.cyclesOfOtherHalf.add(whole.cyclesPerCall - half.cyclesPerCall);
    }
}

std::unique_ptr<Table> makeArrayTable(const Context& context) {
    return std::make_unique<ArrayTable>(context);
}

}  // namespace bench
