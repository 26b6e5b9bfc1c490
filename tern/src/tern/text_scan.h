/// Reading numbers out of the kernel's texts: scanf's rules for blanks and signs, but the same
/// answer in both builds for a number that does not fit, and no locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tern {

/// Drops leading white space.
void skip_blanks(std::string_view& text);

/// Drops `literal` from the front of the text if it stands there.
bool take(std::string_view& text, std::string_view literal);

/// Takes blanks, a sign and decimal digits off the front. A number beyond 32 bits saturates;
/// take_u32 wraps a negative one, as unsigned arithmetic does.
std::optional<std::int32_t> take_i32(std::string_view& text);
std::optional<std::uint32_t> take_u32(std::string_view& text);

/// What follows the colon of a "name : value" line, with any white space around the colon; nothing
/// for a line of another name.
std::optional<std::string_view> value_of(std::string_view line, std::string_view name);

}  // namespace tern
