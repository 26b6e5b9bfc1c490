/// What is measured in one sample.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kestrel/array.h"
#include "machine/number_list.h"
#include "pattern_table.h"

namespace survey {

/// A field that the pattern does not look at is empty, so that equal measurements have equal
/// parameters.
struct Parameters {
    std::string pattern{};
    std::optional<std::uint64_t> sizeBytes{};  ///< of each worker's array, or of the one they share
    std::optional<std::uint32_t> wordBytes{}, strideBytes{};
    std::vector<unsigned> cpus{};  ///< a worker on each, in this order
    std::optional<machine::NumberList> nodes{};
    std::optional<Kestrel::PageKind> pages{};
    std::vector<unsigned> loadCpus{};  ///< those that read from memory meanwhile

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy takes the 0 of a comparison for a pointer
    auto operator<=>(const Parameters&) const = default;
};

/// What the figure of a point counts.
enum class Unit { bytesPerSecond, operationsPerSecond, secondsPerLoad, secondsPerAccess };

struct UnitText {
    std::string_view inFile;     ///< "B/s", "flop/s", "s/load", "s/op"
    std::string_view forPeople;  ///< "GB/s", "Gflop/s", "ns a load", "ns an access"
    double scale;                ///< a figure for people is the one in the file times this
    bool higherIsBetter;
};
const UnitText& textOf(Unit unit);
std::optional<Unit> unitNamed(std::string_view inFile);

/// The row of kestrel's pattern of that name; there must be one.
const Kestrel::PatternRow& rowOf(const Parameters& parameters);
Unit unitOf(const Parameters& parameters);

/// The page kinds of kestrel by the names that a user gives them: system, 4K, 2M, 1G.
std::optional<Kestrel::PageKind> pageKindNamed(std::string_view name);
std::string_view nameOf(Kestrel::PageKind kind);

/// Every field as asked for, less those that the pattern does not look at. A stride of 0 is the
/// word, but stays 0 for slots.
Parameters normalised(Parameters parameters);

/// "16 KiB", "1.5 MiB", "384 B".
std::string sizeText(std::uint64_t bytes);

/// "0-3,8"; in the order of the workers where that is not ascending.
std::string cpusText(const std::vector<unsigned>& cpus);

/// One line that tells a point from the others of its survey: "a-l 16 KiB word 64 cpus 0".
std::string textOf(const Parameters& parameters);

}  // namespace survey
