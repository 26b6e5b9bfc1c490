/// The names of the access patterns and what each of them builds.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "kestrel/pattern.h"
#include "settings.h"

namespace Kestrel {

/// What the settings mean for a pattern's constructor.
struct PatternParameters {
    std::uint32_t wordCode;
    std::uint32_t stride;  ///< bytes
    std::uint32_t repeat;
    std::uint32_t size;  ///< bytes, operations or loops, as the pattern takes it
};

/// How large an array the pattern works on.
enum class ArrayUse {
    wholeSize,  ///< the size setting; a stride of 0 stands for the word
    slots,      ///< a slot for each worker
    none,       ///< the pattern does not look at it
};

struct PatternRow {
    std::uint32_t id;
    std::string_view name;
    std::unique_ptr<IPattern> (*build)(const PatternParameters&);
    ArrayUse arrayUse;
    bool sharedArray;     ///< one array for all workers
    bool accessTimeLine;  ///< the report has a line of access times
};

/// The row of that very name, or null.
const PatternRow* findPattern(std::string_view name);

std::span<const PatternRow> allPatterns();

/// A pattern ready to run.
struct PatternSelection {
    const PatternRow* row = nullptr;  ///< null: there is no such pattern
    std::unique_ptr<IPattern> pattern;
    std::uint32_t arraySize = 0;  ///< bytes for each array
};

PatternSelection selectPattern(const BenchmarkSettings& settings, std::uint32_t cpuCount);

}  // namespace Kestrel
