/// Numbers with a suffix of 1024, 1024 squared or 1024 cubed, as people and the kernel write sizes.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace utilkit {

/// A decimal number without sign, and K, M, G (either case) or nothing behind it. Nothing where the
/// text is anything else, or the value does not fit.
inline std::optional<std::uint64_t> parseScaled(std::string_view text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc())
        return std::nullopt;
    unsigned shift = 0;
    if (rest != end) {
        constexpr std::string_view suffixes = "kKmMgG";
        const std::size_t place = suffixes.find(*rest);
        if (rest + 1 != end || place == std::string_view::npos)
            return std::nullopt;
        shift = 10 * (static_cast<unsigned>(place) / 2 + 1);
    }
    if (number > UINT64_MAX >> shift)
        return std::nullopt;
    return number << shift;
}

}  // namespace utilkit
