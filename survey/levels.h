/// What each level of the memory gives, as a hierarchy's points tell.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

/// A level by its capacity. Memory has none.
struct LevelSize {
    std::string name;  ///< "L1", "L2", "L3", "memory"
    std::optional<std::uint64_t> bytes;
    machine::NumberList cpus{};  ///< that share it; empty where that is not known
};

/// Of the CPU's data and unified caches, as a session's facts tell; memory last. Only memory where
/// they tell nothing.
std::vector<LevelSize> levelSizes(const Json& facts, unsigned cpu);

/// One figure of a level: of all points of a pattern whose arrays lie well inside the level, the
/// median one.
struct LevelFigure {
    std::string pattern;
    double value = 0;  ///< in the pattern's unit
    Unit unit = Unit::bytesPerSecond;
    Verdict verdict = Verdict::ok;  ///< the worst of the points
    std::size_t points = 0;
};

struct Level {
    LevelSize size;
    std::vector<LevelFigure> figures;  ///< none of a pattern without a point in the level
};

/// For the points of a hierarchy on one set of CPUs with one kind of memory.
std::vector<Level> levelsOf(const std::vector<LevelSize>& sizes,
                            const std::vector<const Point*>& points);

}  // namespace survey
