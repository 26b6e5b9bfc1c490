// The floating-point kernels against the processor's arithmetic units.
#include <vector>

#include "kestrel/kernels.h"
#include "processor/kernel_limits.h"
#include "sample.h"
#include "table.h"

namespace bench {
namespace {

using Kestrel::FlopKernel;

struct Row {
    const FlopKernel* kernel;
    Samples samples{};
};

/// For about 20 microseconds where two instructions start each cycle.
std::uint32_t loopsOf(const FlopKernel& kernel) {
    return 128000 / kernel.instructionsPerLoop;
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
            row.samples.add(
                sampleCalls(context.ticksPerSecond, [&] { return row.kernel->run(loops); }));
        }
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const Row& row : all) {
            const FlopKernel& kernel = *row.kernel;
            const double instructions =
                static_cast<double>(loopsOf(kernel)) * kernel.instructionsPerLoop;
            const double operations = instructions * kernel.flopsPerInstruction();
            const double cycles = row.samples.bestCycles();
            const auto limit =
                context.limits ? processor::limitOf(kernel, *context.limits) : std::nullopt;
            shown.push_back({{"kernel", kernel.name},
                             {"instr/cycle", numberOrNull(ratio(instructions, cycles))},
                             {"op/cycle", numberOrNull(ratio(operations, cycles))},
                             {"limit", numberOrNull(limit)},
                             {"share %", shareOf(ratio(instructions, cycles), limit)},
                             {"Gop/s", numberOrNull(ratio(operations * context.ticksPerSecond / 1e9,
                                                          row.samples.bestTicks()))}});
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
