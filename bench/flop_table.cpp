// The floating-point kernels against the processor's arithmetic units.
#include <vector>

#include "kestrel/kernels.h"
#include "sample.h"
#include "table.h"

namespace bench {
namespace {

using Kestrel::FlopKernel;

struct Row {
    const FlopKernel* kernel;
    Samples ticks{}, cycles{};  ///< of one call
};

/// About 50 microseconds' worth of instructions where two start each cycle.
std::uint32_t loopsOf(const FlopKernel& kernel) {
    return 320000 / kernel.instructionsPerLoop;
}

std::uint32_t registerWidth(const FlopKernel& kernel) {
    return kernel.lanes * (kernel.precision == Kestrel::fp_single ? 4 : 8);
}

class FlopTable : public Table {
  public:
    explicit FlopTable(const Context& given) : context(given) {
        for (const FlopKernel& kernel : Kestrel::flopKernels)
            all.push_back({&kernel});
    }

    [[nodiscard]] const char* name() const override { return "floating point"; }
    [[nodiscard]] const char* legend() const override {
        return "instructions and operations a core cycle; no figures where the processor lacks "
               "the instructions";
    }
    void sample() override {
        for (Row& row : all) {
            const std::uint32_t loops = loopsOf(*row.kernel);
            const Sample sample =
                sampleCalls(context.ticksPerSecond, [&] { return row.kernel->run(loops); });
            row.ticks.add(sample.ticksPerCall);
            row.cycles.add(sample.cyclesPerCall);
        }
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const Row& row : all) {
            const FlopKernel& kernel = *row.kernel;
            const double instructions =
                static_cast<double>(loopsOf(kernel)) * kernel.instructionsPerLoop;
            const double operations = instructions * kernel.flopsPerInstruction();
            const auto rate = [](double work, double time) {
                return time != 0 ? std::optional(work / time) : std::nullopt;
            };
            const auto reached = rate(instructions, row.cycles.best());
            const auto limit = context.limits
                                   ? context.limits->instructionsPerCycle(
                                         registerWidth(kernel), kernel.operation == Kestrel::fo_add)
                                   : std::nullopt;
            const auto share =
                limit && reached ? std::optional(100 * *reached / *limit) : std::nullopt;
            shown.push_back({{"kernel", kernel.name},
                             {"instr/cycle", numberOrNull(reached)},
                             {"op/cycle", numberOrNull(rate(operations, row.cycles.best()))},
                             {"limit", numberOrNull(limit)},
                             {"share %", numberOrNull(share)},
                             {"Gop/s", numberOrNull(rate(operations * context.ticksPerSecond / 1e9,
                                                         row.ticks.best()))}});
        }
        return shown;
    }

  private:
    Context context;
    std::vector<Row> all;
};

}  // namespace

std::unique_ptr<Table> makeFlopTable(const Context& context) {
    return std::make_unique<FlopTable>(context);
}

}  // namespace bench
