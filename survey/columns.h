/// Points as rows and columns of text, for a terminal or a page.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

/// "12.3": three or four digits that matter, for people.
std::string figureText(double value);
/// "1.2%", "12%".
std::string percentText(double share);

/// "1 point", "2 points".
std::string counted(std::size_t count, const std::string& noun);

/// Its head, its text for a row, and on which side it is flush.
struct Column {
    std::string head;
    std::function<std::string(const Point&)> text;
    bool left = false;
};

/// Those that these points, all of one unit, need; the verdict last. Columns that say the same in
/// each row are left out, but for the ones that people look for. They refer to nothing but the
/// point they are asked about.
std::vector<Column> columnsFor(const std::vector<const Point*>& points);

/// Points that make one table.
struct PointTable {
    std::string plan;
    Unit unit;
    std::vector<const Point*> points;
};
/// By plan and unit, in the order of the points.
std::vector<PointTable> tablesOf(const std::vector<const Point*>& points);

}  // namespace survey
