// The floating-point kernels and patterns: which instructions are executed, how many, on what
// values, and what they are counted as.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kestrel/kernels.h"
#include "pattern_table.h"
#include "patterns/flop_pattern.h"
#include "single_step.h"
#include "vector_instruction.h"

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
    bool registersOnly = true;
    bool valuesStay = true;
    std::size_t others = 0;
};

/// That value in every place of a register.
template <class Number>
std::array<std::byte, 64> filledWith(Number value) {
    std::array<std::byte, 64> bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += sizeof value)
        std::memcpy(&bytes[i], &value, sizeof value);
    return bytes;
}

bool holdsStartValue(const Executed& executed, unsigned target, const Arithmetic& done,
                     std::uint32_t bytes) {
    const auto value = executed.vectorRegister(target);
    const auto expected = done.operation != fo_mul      ? filledWith(0.0)
                          : done.precision == fp_single ? filledWith(1.0F)
                                                        : filledWith(1.0);
    return std::equal(value.begin(), value.begin() + bytes, expected.begin());
}

Work watch(const std::function<void()>& code) {
    Work work;
    std::size_t sinceLast = 0;
    const auto look = [&](const Executed& executed) {
        const auto instruction = decodeVectorInstruction(executed.code);
        const auto done = instruction ? arithmeticOf(*instruction) : std::nullopt;
        if (!done) {
            ++sinceLast;
            return;
        }
        if (!work.arithmetic.empty())
            work.others += sinceLast;
        sinceLast = 0;
        work.arithmetic.push_back(*done);
        work.targets.insert(instruction->target());
        work.registersOnly &= instruction->registersOnly();
        work.valuesStay &=
            holdsStartValue(executed, instruction->target(), *done, instruction->bytes);
    };
    EXPECT_EQ(singleStep(code, look), 0);
    return work;
}

/// What the system says that the processor has and it saves, whatever the program thinks.
bool systemHas(const std::string& flag) {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("flags")) {
            std::istringstream words(line);
            return std::count(std::istream_iterator<std::string>(words), {}, flag) != 0;
        }
    return false;
}

bool systemRuns(const FlopKernel& kernel) {
    return (kernel.operation != fo_fma || kernel.set == fs_avx512 || systemHas("fma")) &&
           (kernel.set != fs_avx || systemHas("avx")) &&
           (kernel.set != fs_avx512 || systemHas("avx512f"));
}

class FlopKernels : public testing::TestWithParam<FlopKernel> {};

TEST_P(FlopKernels, ExecuteWhatTheyAreCountedAs) {
    const FlopKernel& kernel = GetParam();
    ASSERT_EQ(kernel.run(1) != 0, systemRuns(kernel));
    if (!systemRuns(kernel))
        GTEST_SKIP() << "this processor lacks the instructions";
    for (const std::uint32_t loops : {1u, 2u, 7u}) {
        const Work work = watch([&] { kernel.run(loops); });
        const std::size_t count = std::size_t{loops} * kernel.instructionsPerLoop;
        EXPECT_EQ(work.arithmetic,
                  std::vector(count, Arithmetic{kernel.operation, kernel.precision, kernel.lanes}));
        EXPECT_EQ(work.targets.size(), 8u);
        EXPECT_TRUE(work.registersOnly);
        // A value that an instruction leaves as it was is never anything else.
        EXPECT_TRUE(work.valuesStay);
        // Between them: the loop's own two instructions, and what begins a chain anew.
        const std::size_t clearings = kernel.operation == fo_fma ? count / 2 - 1 : 0;
        EXPECT_EQ(work.others, std::size_t{2} * (loops - 1) + clearings);
    }
}

INSTANTIATE_TEST_SUITE_P(All, FlopKernels, testing::ValuesIn(flopKernels), [](const auto& test) {
    return std::string(test.param.name.substr(std::strlen("kestrel___")));
});

/// "f-d4f": precision, lanes ("s" for one), operation.
Arithmetic meaningOf(const std::string& name) {
    const std::string lanes = name.substr(3, name.size() - 4);
    return {name.back() == 'a'   ? 1u
            : name.back() == 'm' ? 2u
                                 : 3u,
            name[2] == 's' ? 1u : 2u,
            lanes == "s" ? 1u : static_cast<std::uint32_t>(std::stoul(lanes))};
}

TEST(FlopPattern, EachNameRunsWhatItSays) {
    std::size_t names = 0;
    for (const PatternRow& row : allPatterns()) {
        if (!row.name.starts_with("f-"))
            continue;
        const Arithmetic meaning = meaningOf(std::string(row.name));
        ++names;
        BenchmarkSettings settings;
        settings.patternId = row.id;
        settings.size = 3;
        PatternSelection selection = selectPattern(settings, 1);
        EXPECT_EQ(selection.arraySize, 1u);
        RunPhase phase = rpSinglePass;
        WorkerResult result;
        ASSERT_EQ(selection.pattern->run(nullptr, 0, result, phase), psOk) << row.name;
        if (result.iterations == 0)
            continue;  // the processor lacks the instructions
        const std::size_t perLoop =
            meaning.lanes * (meaning.precision == 1 ? 4 : 8) == 64 ? 128 : 16;
        EXPECT_EQ(result.bytes, 3 * perLoop * meaning.lanes * (meaning.operation == 3 ? 2 : 1));
        const Work work = watch([&] {
            WorkerResult other;
            selection.pattern->run(nullptr, 0, other, phase);
        });
        EXPECT_EQ(work.arithmetic, std::vector(3 * perLoop, meaning)) << row.name;
    }
    EXPECT_EQ(names, 16u);
}

TEST(FlopPattern, RefusesWhatHasNoKernel) {
    // By precision and lane code: the operations that have a kernel.
    const std::string kernels[3][7] = {
        {}, {"", "123", "", "1", "123", "13", ""}, {"", "123", "1", "123", "13", "", ""}};
    for (std::uint32_t precision = 0; precision <= 2; ++precision)
        for (std::uint32_t lanes = 0; lanes <= 6; ++lanes)
            for (std::uint32_t operation = 0; operation <= 4; ++operation) {
                FlopPattern pattern(precision, lanes, operation, 1);
                WorkerResult result;
                PatternState state{};
                const bool exists = kernels[precision][lanes].find(
                                        static_cast<char>('0' + operation)) != std::string::npos;
                EXPECT_EQ(pattern.prepare(nullptr, 0, result, state),
                          exists ? psOk : psInvalidParameters)
                    << precision << lanes << operation;
            }
    FlopPattern empty(fp_double, lc4, fo_fma, 0);
    RunPhase phase = rpWait;  // and does not wait for the go
    WorkerResult result;
    EXPECT_EQ(empty.run(nullptr, 0, result, phase), psInvalidParameters);
    EXPECT_EQ(result.ready, 0u);
}

TEST(FlopPattern, CountsOperationsIn64Bits) {
    WorkerResult result;
    result.iterations = 10;
    FlopPattern(fp_double, lc8, fo_fma, 1000).finish({}, result);
    EXPECT_EQ(result.bytes, 20'480'000u);
    FlopPattern(fp_single, lc16, fo_fma, UINT32_MAX).finish({}, result);
    EXPECT_EQ(result.bytes, std::uint64_t{32} * 10 * 128 * UINT32_MAX);
}

}  // namespace
}  // namespace Kestrel
