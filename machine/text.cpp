#include "machine/text.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace machine {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks(" \t\n\v\f\r\0", 7);
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view takeUntil(std::string_view& text, char separator) {
    const std::string_view front = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(front.size() + 1, text.size()));
    return front;
}

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> result;
    for (text = trimmed(text); !text.empty(); text = trimmed(text))
        result.emplace_back(takeUntil(text, ' '));
    return result;
}

std::optional<std::uint64_t> parseNumber(std::string_view text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::optional<std::string> told(std::string text) {
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

std::string validText(std::string_view text) {
    using nlohmann::json;  // whose writer can replace what is not well-formed
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace));
}

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // U+0080 to U+009F are control characters, too.
        const bool twoByteControl =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (byte < ' ' || byte == 0x7F || twoByteControl)
            result += '?';
        else
            result += text[i];
        i += twoByteControl;
    }
    return result;
}

/// Resolves the quotes and backslashes of a shell assignment's value.
static std::string unquoted(std::string_view value) {
    std::string result;
    char quote = '\0';
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        const bool quoteMark = c == '"' || c == '\'';
        if (quoteMark && (quote == '\0' || quote == c)) {
            quote = quote == '\0' ? c : '\0';
        } else if (c == '\\' && quote != '\'' && i + 1 < value.size()) {
            // Inside double quotes a backslash stays before whatever needs none.
            constexpr std::string_view special = "\"\\$`";
            if (quote == '"' && special.find(value[i + 1]) == std::string_view::npos)
                result += c;
            result += value[++i];
        } else {
            result += c;
        }
    }
    return result;
}

std::optional<std::string> systemTitle(std::string_view releaseText) {
    constexpr std::string_view key = "PRETTY_NAME=";
    std::string title;
    for (std::string_view rest = releaseText; !rest.empty();) {
        const std::string_view line = trimmed(takeUntil(rest, '\n'));
        if (line.starts_with(key))
            title = unquoted(line.substr(key.size()));  // the last one counts, as for a shell
    }
    if (title.empty())
        title = trimmed(takeUntil(releaseText, '\n'));
    return told(validText(title));
}

std::optional<std::string> chosenWord(std::string_view text) {
    const std::size_t open = text.find('[');
    const std::size_t close = text.find(']', open == std::string_view::npos ? 0 : open);
    if (open == std::string_view::npos || close == std::string_view::npos)
        return std::nullopt;
    return told(std::string(text.substr(open + 1, close - open - 1)));
}

}  // namespace machine
