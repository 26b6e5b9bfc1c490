#include "pattern_table.h"

#include <algorithm>

#include "patterns/array_patterns.h"
#include "patterns/flop_pattern.h"
#include "patterns/list_pattern.h"
#include "patterns/share_patterns.h"

namespace Kestrel {
namespace {

using Pattern = std::unique_ptr<IPattern>;

template <class ArrayPattern>
Pattern array(const PatternParameters& p) {
    return std::make_unique<ArrayPattern>(p.wordCode, p.stride, p.repeat);
}

Pattern fastmem(const PatternParameters& /*p*/) {
    return std::make_unique<ArrayFASTMEMPattern>();
}

Pattern list(const PatternParameters& p) {
    return std::make_unique<ListLPattern>(p.stride);
}

template <class SharePattern>
Pattern share(const PatternParameters& p) {
    return std::make_unique<SharePattern>(p.stride, p.size);
}

template <FlopPrecision precision, LaneCode lanes, FlopOperation operation>
Pattern flop(const PatternParameters& p) {
    return std::make_unique<FlopPattern>(precision, lanes, operation, p.size);
}

constexpr PatternRow patternTable[] = {
    {1, "a-l", array<ArrayLPattern>, ArrayUse::wholeSize, false, false},
    {2, "a-lms", array<ArrayLPattern>, ArrayUse::wholeSize, false, false},
    {3, "a-lls", array<ArrayLLSPattern>, ArrayUse::wholeSize, false, false},
    {4, "a-fastmem", fastmem, ArrayUse::wholeSize, false, false},
    {5, "l-l", list, ArrayUse::wholeSize, false, false},
    {6, "l-lms", list, ArrayUse::wholeSize, false, false},
    {7, "s-a", array<ArrayLPattern>, ArrayUse::wholeSize, true, false},
    {8, "s-l", list, ArrayUse::wholeSize, true, false},
    {9, "s-lms", share<ShareLMSPattern>, ArrayUse::slots, true, true},
    {10, "s-lms-l", share<ShareLMSLPattern>, ArrayUse::slots, true, true},
    {11, "f-ssa", flop<fp_single, lc1, fo_add>, ArrayUse::none, false, false},
    {12, "f-dsa", flop<fp_double, lc1, fo_add>, ArrayUse::none, false, false},
    {13, "f-ssm", flop<fp_single, lc1, fo_mul>, ArrayUse::none, false, false},
    {14, "f-dsf", flop<fp_double, lc1, fo_fma>, ArrayUse::none, false, false},
    {15, "f-d4f", flop<fp_double, lc4, fo_fma>, ArrayUse::none, false, false},
    {16, "f-d8f", flop<fp_double, lc8, fo_fma>, ArrayUse::none, false, false},
    {17, "f-s8f", flop<fp_single, lc8, fo_fma>, ArrayUse::none, false, false},
    {18, "f-s16f", flop<fp_single, lc16, fo_fma>, ArrayUse::none, false, false},
    {19, "f-s8m", flop<fp_single, lc8, fo_mul>, ArrayUse::none, false, false},
    {20, "f-s8a", flop<fp_single, lc8, fo_add>, ArrayUse::none, false, false},
    {21, "f-s16a", flop<fp_single, lc16, fo_add>, ArrayUse::none, false, false},
    {22, "f-d4a", flop<fp_double, lc4, fo_add>, ArrayUse::none, false, false},
    {23, "f-d8a", flop<fp_double, lc8, fo_add>, ArrayUse::none, false, false},
    {24, "f-d4m", flop<fp_double, lc4, fo_mul>, ArrayUse::none, false, false},
    {25, "f-dsm", flop<fp_double, lc1, fo_mul>, ArrayUse::none, false, false},
    {26, "f-ssf", flop<fp_single, lc1, fo_fma>, ArrayUse::none, false, false},
};

/// The row of that id; where the name matched none, a list is chased.
const PatternRow& rowOf(std::uint32_t id) {
    constexpr std::uint32_t defaultId = 5;
    return *std::ranges::find(patternTable, id != 0 ? id : defaultId, &PatternRow::id);
}

/// Up to this size one call of a kernel is too short to time well, and the kernels repeat.
constexpr std::uint32_t largestRepeated = 32768, repeats = 1000;

std::uint32_t wordCodeOf(std::uint32_t word) {
    for (const std::uint32_t code : {wc16, wc32, wc64})
        if (wordBytes(code) == word)
            return code;
    return wc8;
}

std::uint32_t arraySizeFor(ArrayUse use, const PatternParameters& p, std::uint32_t word,
                           std::uint32_t cpuCount) {
    switch (use) {
        case ArrayUse::wholeSize:
            return p.size;
        case ArrayUse::slots:
            // Saturated: no mapping is as long as that, so it is refused instead of cut short.
            return static_cast<std::uint32_t>(std::min<std::uint64_t>(
                std::uint64_t{cpuCount} * std::max(p.stride, word), UINT32_MAX));
        default:
            return 1;
    }
}

}  // namespace

std::span<const PatternRow> allPatterns() {
    return patternTable;
}

const PatternRow* findPattern(std::string_view name) {
    const auto* const found = std::ranges::find(patternTable, name, &PatternRow::name);
    return found != std::end(patternTable) ? found : nullptr;
}

PatternSelection selectPattern(const BenchmarkSettings& settings, std::uint32_t cpuCount) {
    const PatternRow& row = rowOf(settings.patternId);
    const std::uint32_t word = settings.word != 0 ? settings.word : 8;
    const bool strideOrWord = row.arrayUse == ArrayUse::wholeSize && settings.stride == 0;
    const PatternParameters parameters = {
        .wordCode = wordCodeOf(word),
        .stride = strideOrWord ? word : settings.stride,
        .repeat = settings.size <= largestRepeated ? repeats : 1,
        .size = settings.size,
    };
    return {&row, row.build(parameters), arraySizeFor(row.arrayUse, parameters, word, cpuCount)};
}

}  // namespace Kestrel
