#include "array_table.h"

#include <algorithm>
#include <vector>

#include "pattern_table.h"
#include "processor/kernel_limits.h"
#include "table.h"

namespace bench {
namespace {

using Kestrel::ArrayArgument;
using Kestrel::ArrayKernel;
using Kestrel::ArrayShape;

std::optional<double> limitOf(const ArrayKernel& kernel, std::uint32_t size,
                              const std::optional<processor::Limits>& limits) {
    return limits && size <= firstLevel ? processor::limitOf(kernel, *limits) : std::nullopt;
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
        return "bytes a core cycle; \"net\" leaves out the fixed cost of a call; the limit is that "
               "of the load and store units, in the first-level cache";
    }
    void sample() override {
        for (ArrayRow& row : all)
            sampleArray(row, context.memory, context.ticksPerSecond);
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const ArrayRow& row : all) {
            const auto gigabytes = ratio(row.bytesPerSecond(context.ticksPerSecond), 1e9);
            shown.push_back({{"kernel", row.kernel->name},
                             {"word", row.kernel->word},
                             {"stride", row.stride},
                             {"KiB", row.size / kibibyte},
                             {"B/cycle", numberOrNull(row.bytesPerCycle())},
                             {"net", numberOrNull(row.netBytesPerCycle())},
                             {"limit", numberOrNull(row.limit)},
                             {"share %", shareOf(row.bytesPerCycle(), row.limit)},
                             {"GB/s", numberOrNull(gigabytes)}});
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
    const bool repeats = kernel->argument == ArrayArgument::repeat;
    return sweep * trafficOf(kernel->shape).quarters / 4 *
           (repeats ? Kestrel::repeatsFor(size) : 1);
}

bool ArrayRow::isShort() const {
    // Half of fewer words would be read before the first reading of the counter is complete.
    constexpr std::uint32_t fewestWords = 256;
    return size <= firstLevel && size / stride >= fewestWords &&
           kernel->argument != ArrayArgument::repeat &&
           !trafficOf(kernel->shape).pastCaches;  // bound by memory, not by its length
}

double ArrayRow::bytesPerSecond(double ticksPerSecond) const {
    return ratio(static_cast<double>(bytesPerCall(size)) * ticksPerSecond, whole.bestTicks())
        .value_or(0);
}

std::optional<double> ArrayRow::bytesPerCycle() const {
    return ratio(static_cast<double>(bytesPerCall(size)), whole.bestCycles());
}

std::optional<double> ArrayRow::netBytesPerCycle() const {
    if (!isShort())
        return std::nullopt;
    return ratio(static_cast<double>(bytesPerCall(size) - bytesPerCall(size / 2)),
                 whole.bestCycles() - half.bestCycles());
}

void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond) {
    const std::uint32_t argument =
        row.kernel->argument == ArrayArgument::stride ? row.stride : Kestrel::repeatsFor(row.size);
    const auto sampleOf = [&](std::uint32_t size) {
        return sampleCalls(ticksPerSecond, [&] {
            return row.kernel->run(memory.data(), memory.data() + size, argument);
        });
    };
    row.whole.add(sampleOf(row.size));
    if (row.isShort())
        row.half.add(sampleOf(row.size / 2));
}

std::unique_ptr<Table> makeArrayTable(const Context& context) {
    return std::make_unique<ArrayTable>(context);
}

}  // namespace bench
