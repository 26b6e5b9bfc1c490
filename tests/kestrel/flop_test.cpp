// The floating-point kernels and patterns: which instructions are executed, how many, on what
// values, and what they are counted as.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <fstream>
#include <iterator>
#include <set>

#include "pattern_table.h"
#include "patterns/flop_pattern.h"
#include "single_step.h"

namespace Kestrel {
namespace {

struct Arithmetic {
    std::uint32_t operation, precision, lanes;
    bool operator==(const Arithmetic&) const = default;
};

std::optional<Arithmetic> arithmeticOf(const VectorInstruction& it) {
    const bool fma = it.map == 2 && (it.opcode == 0xA8 || it.opcode == 0xA9);
    const bool addOrMul = it.map == 1 && (it.opcode == 0x58 || it.opcode == 0x59);
    if (!fma && !addOrMul)
        return std::nullopt;
    const bool isDouble = fma ? it.wide : it.prefix % 2 != 0;
    const bool scalar = fma ? it.opcode == 0xA9 : it.prefix >= 2;
    return Arithmetic{fma ? 3u : it.opcode - 0x57u, isDouble ? 2u : 1u,
                      scalar ? 1 : it.bytes / (isDouble ? 8 : 4)};
}

/// What a piece of code executed from its first to its last arithmetic instruction.
struct Work {
    std::vector<Arithmetic> arithmetic;
    std::set<unsigned> targets;
    bool registersOnly = true, valuesStay = true;
    std::size_t others = 0;
};

template <class Number>
bool allAre(Number expected, const std::array<std::byte, 64>& value, std::uint32_t bytes) {
    const auto numbers = std::bit_cast<std::array<Number, 64 / sizeof(Number)>>(value);
    const auto count = static_cast<std::ptrdiff_t>(bytes / sizeof(Number));
    return std::count(numbers.begin(), numbers.begin() + count, expected) == count;
}

Work watchArithmetic(const std::function<void()>& code) {
    Work work;
    std::size_t sinceLast = 0;
    const auto look = [&](const Executed& executed) {
        const auto it = executed.asVectorInstruction();
        const auto done = it ? arithmeticOf(*it) : std::nullopt;
        if (!done) {
            ++sinceLast;
            return;
        }
        work.others += work.arithmetic.empty() ? 0 : sinceLast;
        sinceLast = 0;
        work.arithmetic.push_back(*done);
        work.targets.insert(it->target());
        work.registersOnly &= it->registersOnly();
        const auto value = executed.vectorRegister(it->target());
        const float start = done->operation == fo_mul ? 1 : 0;
        work.valuesStay &= done->precision == fp_single ? allAre<float>(start, value, it->bytes)
                                                        : allAre<double>(start, value, it->bytes);
    };
    EXPECT_EQ(singleStep(code, look), 0);
    return work;
}

/// What the system says that the processor has and it saves, whatever the program thinks.
bool systemHas(const std::string& flag) {
    std::ifstream file("/proc/cpuinfo");
    return std::count(std::istream_iterator<std::string>(file), {}, flag) != 0;
}

bool systemRuns(const FlopKernel& kernel) {
    return (kernel.operation != fo_fma || kernel.set == fs_avx512 || systemHas("fma")) &&
           (kernel.set != fs_avx || systemHas("avx")) &&
           (kernel.set != fs_avx512 || systemHas("avx512f"));
}

/// "f-d4f": precision, lanes ("s" for one), operation.
std::string patternName(const FlopKernel& kernel) {
    const std::string lanes = kernel.lanes == 1 ? "s" : std::to_string(kernel.lanes);
    return std::string("f-") + " sd"[kernel.precision] + lanes + " amf"[kernel.operation];
}

/// The pattern of that name, where there is one.
std::unique_ptr<IPattern> patternOf(const FlopKernel& kernel, std::uint32_t loops) {
    const auto laneCode = static_cast<std::uint32_t>(std::countr_zero(kernel.lanes)) + 1;
    const PatternRow* const row = findPattern(patternName(kernel));
    if (row == nullptr)
        return std::make_unique<FlopPattern>(kernel.precision, laneCode, kernel.operation, loops);
    BenchmarkSettings settings;
    settings.patternId = row->id;
    settings.size = loops;
    PatternSelection selection = selectPattern(settings, 1);
    EXPECT_EQ(selection.arraySize, 1u);
    return std::move(selection.pattern);
}

TEST(FlopPatterns, ExecuteWhatTheyAreNamedAndCountedAs) {
    const RunPhase phase = rpSinglePass;
    for (const FlopKernel& kernel : flopKernels)
        for (const std::uint32_t loops : {1u, 2u, 7u}) {
            SCOPED_TRACE(testing::Message() << kernel.name << ", loops " << loops);
            const auto pattern = patternOf(kernel, loops);
            WorkerResult result, other;
            ASSERT_EQ(pattern->run(nullptr, 0, result, phase), psOk);
            ASSERT_EQ(result.iterations, systemRuns(kernel) ? 1u : 0u);
            if (!systemRuns(kernel))
                continue;
            const Work work = watchArithmetic([&] { pattern->run(nullptr, 0, other, phase); });
            const bool wide = kernel.set == fs_avx512, fma = kernel.operation == fo_fma;
            const std::size_t count = std::size_t{loops} * (wide ? 128 : 16);
            EXPECT_EQ(result.bytes, count * kernel.lanes * (fma ? 2 : 1));
            EXPECT_EQ(
                work.arithmetic,
                std::vector(count, Arithmetic{kernel.operation, kernel.precision, kernel.lanes}));
            EXPECT_EQ(work.targets.size(), 8u);
            EXPECT_TRUE(work.registersOnly);
            // A value that an instruction leaves as it was is never anything else.
            EXPECT_TRUE(work.valuesStay);
            // Between them: the loop's own two instructions, and what begins a chain anew.
            EXPECT_EQ(work.others, std::size_t{2} * (loops - 1) + (fma ? count / 2 - 1 : 0));
        }
}

TEST(FlopPatterns, RefuseWhatHasNoKernel) {
    const RunPhase phase = rpWait;  // which a refusal does not wait to change
    WorkerResult result;
    for (const auto& [precision, lanes, operation, loops] :
         std::vector<std::array<std::uint32_t, 4>>{{fp_single, lc16, fo_mul, 1},
                                                   {fp_double, lc16, fo_add, 1},
                                                   {fp_single, lc2, fo_add, 1},
                                                   {fp_double, 6, fo_add, 1},
                                                   {fp_double, 0, fo_add, 1},
                                                   {0, lc1, fo_add, 1},
                                                   {fp_double, lc1, 99, 1},
                                                   {fp_double, lc4, fo_fma, 0}})
        EXPECT_EQ(FlopPattern(precision, lanes, operation, loops).run(nullptr, 0, result, phase),
                  psInvalidParameters);
    EXPECT_EQ(result.ready, 0u);
}

TEST(FlopPatterns, CountOperationsIn64Bits) {
    WorkerResult result;
    result.iterations = 10;
    FlopPattern(fp_single, lc16, fo_fma, UINT32_MAX).finish({}, result);
    EXPECT_EQ(result.bytes, std::uint64_t{32} * 10 * 128 * UINT32_MAX);
}

}  // namespace
}  // namespace Kestrel
