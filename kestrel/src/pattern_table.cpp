#include "pattern_table.h"

#include <algorithm>

#include "patterns/array_patterns.h"

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

constexpr PatternRow patternTable[] = {
    {1, "a-l", array<ArrayLPattern>, ArrayUse::wholeSize, false, false},
    {2, "a-lms", array<ArrayLPattern>, ArrayUse::wholeSize, false, false},
    {3, "a-lls", array<ArrayLLSPattern>, ArrayUse::wholeSize, false, false},
    {4, "a-fastmem", fastmem, ArrayUse::wholeSize, false, false},
    {7, "s-a", array<ArrayLPattern>, ArrayUse::wholeSize, true, false},
};

/// The pattern that runs where the name matched none.
constexpr std::uint32_t defaultPatternId = 5;

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
    const std::uint32_t id = settings.patternId != 0 ? settings.patternId : defaultPatternId;
    const auto* const row = std::ranges::find(patternTable, id, &PatternRow::id);
    if (row == std::end(patternTable))
        return {};
    const std::uint32_t word = settings.word != 0 ? settings.word : 8;
    const bool strideOrWord = row->arrayUse == ArrayUse::wholeSize && settings.stride == 0;
    const PatternParameters parameters = {
        .wordCode = wordCodeOf(word),
        .stride = strideOrWord ? word : settings.stride,
        .repeat = settings.size <= largestRepeated ? repeats : 1,
        .size = settings.size,
    };
    return {row, row->build(parameters), arraySizeFor(row->arrayUse, parameters, word, cpuCount)};
}

}  // namespace Kestrel
