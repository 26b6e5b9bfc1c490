#include "tern/src/tern/text_scan.h"

#include <algorithm>
#include <limits>

namespace tern {

void skip_blanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

bool take(std::string_view& text, std::string_view literal) {
    if (!text.starts_with(literal))
        return false;
    text.remove_prefix(literal.size());
    return true;
}

namespace {

/// A number of at most 33 bits and a sign: one bit more than the callers need to see that it does
/// not fit.
std::optional<std::int64_t> take_number(std::string_view& text) {
    constexpr std::int64_t beyond = std::int64_t{1} << 32;
    skip_blanks(text);
    const bool negative = take(text, "-");
    if (!negative)
        take(text, "+");
    if (text.empty() || text.front() < '0' || text.front() > '9')
        return std::nullopt;
    std::int64_t magnitude = 0;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1))
        magnitude = std::min(magnitude * 10 + (text.front() - '0'), beyond);
    return negative ? -magnitude : magnitude;
}

}  // namespace

std::optional<std::int32_t> take_i32(std::string_view& text) {
    using limits = std::numeric_limits<std::int32_t>;
    const auto number = take_number(text);
    if (!number)
        return std::nullopt;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(*number, limits::min(), limits::max()));
}

std::optional<std::uint32_t> take_u32(std::string_view& text) {
    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    const auto number = take_number(text);
    if (!number)
        return std::nullopt;
    return static_cast<std::uint32_t>(*number > most || *number < -most ? most : *number);
}

std::optional<std::string_view> value_of(std::string_view line, std::string_view name) {
    for (const char c : name) {
        if (c == ' ')
            skip_blanks(line);
        else if (!take(line, {&c, 1}))
            return std::nullopt;
    }
    skip_blanks(line);
    if (!take(line, ":"))
        return std::nullopt;
    return line;
}

}  // namespace tern
