#include "pattern_table.h"

#include <algorithm>

#include "kestrel/units.h"
#include "patterns/array_patterns.h"
#include "patterns/flop_pattern.h"
#include "patterns/list_pattern.h"
#include "patterns/random_list_pattern.h"
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

template <class ListPattern>
Pattern list(const PatternParameters& p) {
    return std::make_unique<ListPattern>(p.stride);
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
    {1, "a-l", array<ArrayLPattern>, ArrayUse::own, LooksAt::wordAndStride},
    {2, "a-lms", array<ArrayLPattern>, ArrayUse::own, LooksAt::wordAndStride},
    {3, "a-lls", array<ArrayLLSPattern>, ArrayUse::own, LooksAt::wordAndStride},
    {4, "a-fastmem", fastmem, ArrayUse::own, LooksAt::nothing},
    {5, "l-l", list<ListLPattern>, ArrayUse::own, LooksAt::stride},
    {6, "l-lms", list<ListLPattern>, ArrayUse::own, LooksAt::stride},
    {7, "s-a", array<ArrayLPattern>, ArrayUse::shared, LooksAt::wordAndStride},
    {8, "s-l", list<ListLPattern>, ArrayUse::shared, LooksAt::stride},
    {9, "s-lms", share<ShareLMSPattern>, ArrayUse::slots, LooksAt::stride},
    {10, "s-lms-l", share<ShareLMSLPattern>, ArrayUse::slots, LooksAt::stride},
    {11, "f-ssa", flop<fp_single, lc1, fo_add>, ArrayUse::none, LooksAt::nothing},
    {12, "f-dsa", flop<fp_double, lc1, fo_add>, ArrayUse::none, LooksAt::nothing},
    {13, "f-ssm", flop<fp_single, lc1, fo_mul>, ArrayUse::none, LooksAt::nothing},
    {14, "f-dsf", flop<fp_double, lc1, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {15, "f-d4f", flop<fp_double, lc4, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {16, "f-d8f", flop<fp_double, lc8, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {17, "f-s8f", flop<fp_single, lc8, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {18, "f-s16f", flop<fp_single, lc16, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {19, "f-s8m", flop<fp_single, lc8, fo_mul>, ArrayUse::none, LooksAt::nothing},
    {20, "f-s8a", flop<fp_single, lc8, fo_add>, ArrayUse::none, LooksAt::nothing},
    {21, "f-s16a", flop<fp_single, lc16, fo_add>, ArrayUse::none, LooksAt::nothing},
    {22, "f-d4a", flop<fp_double, lc4, fo_add>, ArrayUse::none, LooksAt::nothing},
    {23, "f-d8a", flop<fp_double, lc8, fo_add>, ArrayUse::none, LooksAt::nothing},
    {24, "f-d4m", flop<fp_double, lc4, fo_mul>, ArrayUse::none, LooksAt::nothing},
    {25, "f-dsm", flop<fp_double, lc1, fo_mul>, ArrayUse::none, LooksAt::nothing},
    {26, "f-ssf", flop<fp_single, lc1, fo_fma>, ArrayUse::none, LooksAt::nothing},
    {27, "l-r", list<RandomListPattern>, ArrayUse::own, LooksAt::stride},
};

/// The row of that id; where the name matched none, a list is chased.
const PatternRow& rowOf(std::uint32_t id) {
    constexpr std::uint32_t defaultId = 5;
    return *std::ranges::find(patternTable, id != 0 ? id : defaultId, &PatternRow::id);
}

std::uint32_t arraySizeFor(ArrayUse use, const PatternParameters& p, std::uint32_t word,
                           std::uint32_t cpuCount) {
    switch (use) {
        case ArrayUse::own:
        case ArrayUse::shared:
            return p.size;
        case ArrayUse::slots:
            // Saturated: no mapping is as long as that, so it is refused instead of cut short.
            return static_cast<std::uint32_t>(std::min<std::uint64_t>(
                std::uint64_t{cpuCount} * std::max(p.stride, word), UINT32_MAX));
        case ArrayUse::none:
            break;
    }
    return 1;
}

}  // namespace

std::span<const PatternRow> allPatterns() {
    return patternTable;
}

const PatternRow* findPattern(std::string_view name) {
    const auto* const found = std::ranges::find(patternTable, name, &PatternRow::name);
    return found != std::end(patternTable) ? found : nullptr;
}

std::uint32_t repeatsFor(std::uint32_t size) {
    constexpr std::uint32_t largest = 32 * kibibyte, repeats = 1000;
    return size <= largest ? repeats : 1;
}

PatternSelection selectPattern(const BenchmarkSettings& settings, std::uint32_t cpuCount) {
    const PatternRow& row = rowOf(settings.patternId);
    const std::uint32_t word = settings.word != 0 ? settings.word : 8;
    const bool wholeArray = row.arrayUse == ArrayUse::own || row.arrayUse == ArrayUse::shared;
    const PatternParameters parameters = {
        .wordCode = wordCodeOf(word),
        .stride = wholeArray && settings.stride == 0 ? word : settings.stride,
        .repeat = repeatsFor(settings.size),
        .size = settings.size,
    };
    return {&row, row.build(parameters), arraySizeFor(row.arrayUse, parameters, word, cpuCount)};
}

}  // namespace Kestrel
