#include "table.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace bench {
namespace {

using nlohmann::ordered_json;

constexpr const char* exceeded = "limit exceeded";

std::string cell(const ordered_json& value) {
    if (value.is_null())
        return "-";
    if (value.is_string())
        return value.get<std::string>();
    if (!value.is_number_float())
        return value.dump();
    // Three or four digits: the next one differs from run to run.
    const double number = value.get<double>();
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", number < 10 ? 2 : 1, number);
    return text;
}

}  // namespace

void print(const Table& table) {
    const ordered_json rows = table.rows();
    std::printf("\n%s: %s\n", table.name(), table.legend());
    if (rows.empty())
        return;
    std::vector<std::vector<std::string>> lines(1);
    for (const auto& [column, value] : rows.front().items())
        lines.front().push_back(column);
    for (const ordered_json& row : rows) {
        std::vector<std::string>& line = lines.emplace_back();
        for (const ordered_json& value : row)
            line.push_back(cell(value));
    }
    for (const auto& line : lines) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            std::size_t width = 0;
            for (const auto& other : lines)
                width = std::max(width, other[column].size());
            const int signedWidth = static_cast<int>(width);
            std::printf("%s%*s", column == 0 ? "" : "  ", column == 0 ? -signedWidth : signedWidth,
                        line[column].c_str());
        }
        std::printf("\n");
    }
    if (std::ranges::any_of(
            rows, [](const auto& row) { return row.value("share %", ordered_json()) == exceeded; }))
        std::printf("%s: the table of limits is wrong for these rows\n", exceeded);
}

ordered_json numberOrNull(const std::optional<double>& value) {
    return value ? ordered_json(*value) : ordered_json();
}

std::optional<double> ratio(double a, double b) {
    return a > 0 && b > 0 ? std::optional(a / b) : std::nullopt;
}

ordered_json shareOf(const std::optional<double>& reached, const std::optional<double>& limit) {
    constexpr double tolerance = 0.01;
    if (!reached || !limit)
        return {};
    if (*reached > *limit * (1 + tolerance))
        return exceeded;
    return 100 * *reached / *limit;
}

}  // namespace bench
