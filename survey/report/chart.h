/// What a report draws, and each drawing as a table. All figures are in people's units.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "survey/report/entry.h"
#include "survey/report/html.h"

namespace survey {

/// One figure.
struct Mark {
    double x = 0, y = 0;
    double low = 0, high = 0;  ///< the range of its samples; equal: none is drawn
    bool isNoisy = false;
    std::string row{};    ///< what the table calls its row, "16 KiB"
    double rowOrder = 0;  ///< rows are sorted by this
    std::string note{};   ///< what else there is to say of it
};

/// The figures of one session that belong together.
struct Line {
    std::string kind;   ///< what tells it from the session's other lines
    std::string brief;  ///< stands for the kind where no other kind has the same
    std::size_t entry;  ///< the session's place among those of the report
    std::vector<Mark> marks;
};

/// What the x axis counts.
enum class Axis {
    none,  ///< there is no drawing, only the table
    bytes,
    count,
    rate,       ///< linear, as is y
    intensity,  ///< flop/byte
};

struct Chart {
    struct Series {
        std::string name;
        std::size_t tone;   ///< those of one tone have one colour
        std::size_t group;  ///< those of one group stand and fall together in the legend
        std::vector<Mark> marks;
        bool isPlain = false;  ///< a line without marks
    };
    /// A vertical line, such as at a cache's capacity.
    struct Edge {
        double x;
        std::string text;
    };
    std::string title, rows;  ///< `rows`: what the table's first column holds
    Axis axis = Axis::none;
    std::string xTitle, yTitle;
    std::vector<Series> series{};
    std::vector<Edge> edges{};
    std::optional<Table> ownTable{};  ///< instead of the one that follows from the series
};

/// Of one session all lines in one chart, each in a colour of its own. Of several a chart for each
/// kind of line, with a line for each session, so that like stands beside like.
std::vector<Chart> arranged(const Chart& empty, std::vector<Line> lines,
                            const std::vector<Entry>& entries);

/// For the script that draws.
Json toJson(const Chart& chart, const std::string& id);
/// Its own, else a row for each row of marks and a column for each series.
Table tableOf(const Chart& chart);

/// A point's figure and range as a mark, at `x`.
Mark markOf(const Point& point, double x);
/// Whether a point has a figure that may be shown.
bool isDrawable(const Point& point);

}  // namespace survey
