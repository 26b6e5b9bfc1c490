#include "survey/fleet/node_list.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>

namespace survey {
namespace {

constexpr std::size_t mostNames = 100000;
constexpr std::size_t mostDigits = 18;  // they fit in 64 bits
constexpr std::string_view digits = "0123456789";

[[noreturn]] void refuse(std::string_view item, const std::string& reason) {
    throw std::invalid_argument("'" + std::string(item) + "' " + reason);
}

std::string padded(std::uint64_t number, std::size_t width) {
    const std::string text = std::to_string(number);
    return std::string(width > text.size() ? width - text.size() : 0, '0') + text;
}

std::optional<std::uint64_t> numberIn(std::string_view text) {
    std::uint64_t number = 0;
    if (text.empty() || text.size() > mostDigits ||
        text.find_first_not_of(digits) != std::string_view::npos)
        return std::nullopt;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The parts between commas that stand in no brackets.
std::vector<std::string_view> partsOf(std::string_view text) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    bool inBrackets = false;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        if (at < text.size() && (text[at] == '[' || text[at] == ']'))
            inBrackets = text[at] == '[';
        if (at == text.size() || (text[at] == ',' && !inBrackets)) {
            parts.push_back(text.substr(start, at - start));
            start = at + 1;
        }
    }
    return parts;
}

class NameSet {
  public:
    void add(const std::string& name) {
        if (!seen.insert(name).second)
            return;
        if (seen.size() > mostNames)
            throw std::invalid_argument("more than " + std::to_string(mostNames) + " names");
        names.push_back(name);
    }
    std::vector<std::string> names;

  private:
    std::set<std::string> seen;
};

/// The names of one part, "n[01-04,07]" or "login".
void addPart(std::string_view part, NameSet& names) {
    const std::size_t open = part.find('['), close = part.find(']');
    if (part.empty() || part.find_first_of(" \t\n") != std::string_view::npos)
        refuse(part, "is no name of a host");
    if (open == std::string_view::npos && close == std::string_view::npos) {
        names.add(std::string(part));
        return;
    }
    if (open >= close || close == std::string_view::npos)
        refuse(part, "has a bracket without its other one");
    if (part.find_first_of("[]", close + 1) != std::string_view::npos)
        refuse(part, "has more than one pair of brackets");
    const std::string before(part.substr(0, open)), after(part.substr(close + 1));
    for (const std::string_view range : partsOf(part.substr(open + 1, close - open - 1))) {
        const std::string_view first = range.substr(0, range.find('-'));
        const std::string_view last =
            first.size() < range.size() ? range.substr(first.size() + 1) : first;
        const auto low = numberIn(first), high = numberIn(last);
        if (!low || !high)
            refuse(part, "holds no ranges of numbers such as [01-04,07]");
        if (*low > *high)
            refuse(part, "holds a range that runs backwards");
        for (std::uint64_t number = *low; number <= *high; ++number)
            names.add(std::string(before).append(padded(number, first.size())).append(after));
    }
}

/// A name around its last number.
struct Split {
    std::string before, after;
    std::optional<std::uint64_t> number;
    std::size_t width = 0;  ///< digits of the number

    explicit Split(const std::string& name) : before(name) {
        const std::size_t end = name.find_last_of(digits) + 1;
        if (end == 0)
            return;
        const std::size_t start = name.find_last_not_of(digits, end - 1) + 1;
        number = numberIn(std::string_view(name).substr(start, end - start));
        if (!number)
            return;
        before = name.substr(0, start);
        after = name.substr(end);
        width = end - start;
    }
    // The linter sees a 0 that should be nullptr in what the compiler makes of it.
    auto operator<=>(const Split&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// Numbers that follow one another, written with the first one's width.
struct Run {
    Split first;
    std::uint64_t last;

    [[nodiscard]] bool takes(const Split& next) const {
        return next.number && first.number && next.before == first.before &&
               next.after == first.after && *next.number == last + 1 &&
               next.width == padded(*next.number, first.width).size();
    }
    [[nodiscard]] std::string text() const {
        const std::string low = padded(*first.number, first.width);
        return last == *first.number ? low : low + "-" + padded(last, first.width);
    }
};

}  // namespace

std::vector<std::string> parseNodeList(const std::string& text) {
    NameSet names;
    for (const std::string_view part : partsOf(text))
        addPart(part, names);
    return std::move(names.names);
}

std::string nodeListText(const std::vector<std::string>& names) {
    std::vector<Split> all(names.begin(), names.end());
    std::ranges::sort(all);
    std::vector<Run> runs;
    for (const Split& split : all)
        if (!runs.empty() && runs.back().takes(split))
            runs.back().last = *split.number;
        else
            runs.push_back({split, split.number.value_or(0)});
    std::string text;
    for (std::size_t i = 0; i < runs.size();) {
        const Split& first = runs[i].first;
        text += (text.empty() ? "" : ",") + first.before;
        std::size_t end = i + 1;
        if (first.number) {
            std::string ranges = runs[i].text();
            for (; end < runs.size() && runs[end].first.number &&
                   runs[end].first.before == first.before && runs[end].first.after == first.after;
                 ++end)
                ranges += "," + runs[end].text();
            const bool alone = end == i + 1 && runs[i].last == *first.number;
            text += alone ? ranges : "[" + ranges + "]";
        }
        text += first.after;
        i = end;
    }
    return text;
}

}  // namespace survey
