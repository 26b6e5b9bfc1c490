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
};

/// Of the data and unified caches of the first of these CPUs, as a session's facts tell; memory
/// last. Where several of the CPUs share a cache, it is the part that each has of it. Only memory
/// where the facts tell nothing.
std::vector<LevelSize> levelSizes(const Json& facts, const std::vector<unsigned>& cpus);

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

/// The points of a hierarchy on one set of CPUs with one kind of memory, and what they tell.
struct Hierarchy {
    std::string place;  ///< "CPU 0, node 0, pages of 2M"
    std::vector<const Point*> points;
    std::vector<std::string> patterns;  ///< in the order of the points
    std::vector<Level> levels;
};
std::vector<Hierarchy> hierarchiesOf(const Session& session);

}  // namespace survey
