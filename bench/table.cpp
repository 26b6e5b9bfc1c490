#include "table.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace bench {
namespace {

using nlohmann::ordered_json;

std::string cell(const ordered_json& value) {
    if (value.is_null())
        return "-";
    if (value.is_string())
        return value.get<std::string>();
    if (!value.is_number_float())
        return value.dump();
    // Three or four digits: more than the machine's own unrest would not mean anything.
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
}

ordered_json numberOrNull(const std::optional<double>& value) {
    return value ? ordered_json(*value) : ordered_json();
}

}  // namespace bench
