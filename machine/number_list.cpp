#include "machine/number_list.h"

#include <algorithm>
#include <iterator>

#include "machine/text.h"

namespace machine {

std::optional<NumberList> parseNumberList(std::string_view text) {
    constexpr std::uint64_t highest = 65535;
    NumberList list;
    text = trimmed(text);
    while (!text.empty()) {
        const std::string_view item = takeUntil(text, ',');
        const std::size_t dash = item.find('-');
        const auto first = parseNumber(item.substr(0, dash));
        const auto last =
            dash == std::string_view::npos ? first : parseNumber(item.substr(dash + 1));
        if (!first || !last || *first > *last || *last > highest)
            return std::nullopt;
        for (std::uint64_t number = *first; number <= *last; ++number)
            list.push_back(static_cast<unsigned>(number));
    }
    std::ranges::sort(list);
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

std::string listText(const NumberList& list) {
    std::string text;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::size_t first = i;
        while (i + 1 < list.size() && list[i + 1] == list[i] + 1)
            ++i;
        text += (text.empty() ? "" : ",") + std::to_string(list[first]);
        if (i != first)
            text += '-' + std::to_string(list[i]);
    }
    return text;
}

bool contains(const NumberList& list, unsigned number) {
    return std::ranges::binary_search(list, number);
}

NumberList common(const NumberList& a, const NumberList& b) {
    NumberList both;
    std::ranges::set_intersection(a, b, std::back_inserter(both));
    return both;
}

}  // namespace machine
