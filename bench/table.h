/// A table of figures: how it is filled, shown and written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>

#include "kestrel/units.h"
#include "processor/limits.h"

namespace bench {

using Kestrel::kibibyte, Kestrel::mebibyte;

/// Bytes of the arrays and lists that are measured: one for each level of the memory.
inline constexpr std::uint32_t sizes[] = {16 * kibibyte, 256 * kibibyte, 8 * mebibyte,
                                          512 * mebibyte};

/// Up to this size they fit the first-level cache of every processor in the table of limits.
inline constexpr std::uint32_t firstLevel = 32 * kibibyte;

/// What all tables measure with. The calling thread is pinned to `cpu`.
struct Context {
    std::uint32_t cpu = 0;
    double ticksPerSecond = 0;
    std::span<std::byte> memory;  ///< its pages exist; any table may write to it
    std::optional<processor::Limits> limits;
};

class Table {
  public:
    virtual ~Table() = default;

    [[nodiscard]] virtual const char* name() const = 0;
    /// What the columns mean.
    [[nodiscard]] virtual const char* legend() const = 0;
    /// Takes one short sample of each row. Called once a round, round after round, so that a slow
    /// spell of the machine hits all rows alike.
    virtual void sample() = 0;
    /// An object for each row, all with the same members in the order of the columns; null where a
    /// figure does not exist or is not known.
    [[nodiscard]] virtual nlohmann::ordered_json rows() const = 0;
};

std::unique_ptr<Table> makeArrayTable(const Context& context);
std::unique_ptr<Table> makeFlopTable(const Context& context);
std::unique_ptr<Table> makeListTable(const Context& context);
/// Takes a second CPU for the neighbour where there is one.
std::unique_ptr<Table> makeShareTable(const Context& context);

/// Bytes that the tables' memory must have.
inline constexpr std::size_t memorySize = std::ranges::max(sizes);

void print(const Table& table);

nlohmann::ordered_json numberOrNull(const std::optional<double>& value);

/// `a` for each `b`; nothing unless both are above 0, as all that was measured is.
std::optional<double> ratio(double a, double b);

/// `reached` in per cent of `limit`; null where either is not known. More than one per cent above
/// the limit, which is more than the core clock errs, the table of limits must be wrong: then there
/// is no share, but the text "limit exceeded".
nlohmann::ordered_json shareOf(const std::optional<double>& reached,
                               const std::optional<double>& limit);

}  // namespace bench
