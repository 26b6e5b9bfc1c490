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

/// What the workers' memory is.
enum class ArrayUse {
    own,     ///< an array of the size setting for each worker; a stride of 0 stands for the word
    shared,  ///< one such array for all of them
    slots,   ///< one array with a slot for each of them
    none,    ///< an array for each that the pattern does not look at
};

/// Which of the settings that describe a sweep make a difference to the pattern.
enum class LooksAt { wordAndStride, stride, nothing };

struct PatternRow {
    std::uint32_t id;
    std::string_view name;
    std::unique_ptr<IPattern> (*build)(const PatternParameters&);
    ArrayUse arrayUse;
    LooksAt looksAt;

    /// One array serves all workers.
    [[nodiscard]] constexpr bool sharesArray() const {
        return arrayUse == ArrayUse::shared || arrayUse == ArrayUse::slots;
    }
    /// What is counted are accesses, and the report says how long one takes.
    [[nodiscard]] constexpr bool countsAccesses() const { return arrayUse == ArrayUse::slots; }
};

/// Sweeps that one call of a repeating kernel makes: many over an array of up to 32 KiB, where a
/// single one is too short to time well.
std::uint32_t repeatsFor(std::uint32_t size);

/// The row of that very name, or null.
const PatternRow* findPattern(std::string_view name);

std::span<const PatternRow> allPatterns();

/// A pattern ready to run.
struct PatternSelection {
    const PatternRow* row;
    std::unique_ptr<IPattern> pattern;
    std::uint32_t arraySize;  ///< bytes for each array
};

PatternSelection selectPattern(const BenchmarkSettings& settings, std::uint32_t cpuCount);

}  // namespace Kestrel
