#include "system_text.h"

#include <algorithm>

std::string system_title(std::string_view release_text) {
    constexpr std::string_view key = "PRETTY_NAME=";
    const std::string_view first = release_text.substr(0, release_text.find('\n'));
    for (std::string_view rest = release_text; !rest.empty();) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (!line.starts_with(key))
            continue;
        line.remove_prefix(key.size());
        if (line.size() >= 2 && (line.front() == '"' || line.front() == '\'') &&
            line.back() == line.front())
            line = line.substr(1, line.size() - 2);
        return printable(line);
    }
    return printable(first);
}

std::string printable(std::string_view text) {
    std::string result(text);
    std::ranges::replace_if(
        result, [](char c) { return c < ' ' || c > '~'; }, '?');
    return result;
}
