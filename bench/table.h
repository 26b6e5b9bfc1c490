/// A table of figures: how it is filled, shown and written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>

#include "processor_limits.h"

namespace bench {

/// What all tables measure with. The calling thread is pinned to `cpu`.
struct Context {
    std::uint32_t cpu = 0;
    double ticksPerSecond = 0;
    std::span<std::byte> memory;  ///< its pages exist; any table may write to it
    std::optional<ProcessorLimits> limits;
};

class Table {
  public:
    virtual ~Table() = default;

    [[nodiscard]] virtual const char* name() const = 0;
    /// What the columns mean, for people.
    [[nodiscard]] virtual const char* legend() const = 0;
    /// Takes one short sample of each row. Called once a round, round after round, so that a slow
    /// spell of the machine meets all rows alike.
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
inline constexpr std::size_t memorySize = std::size_t{512} << 20;

void print(const Table& table);

nlohmann::ordered_json numberOrNull(const std::optional<double>& value);

}  // namespace bench
