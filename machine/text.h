/// Taking apart the texts of the kernel and of the distributions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace machine {

/// Without white space and zero bytes at either end.
std::string_view trimmed(std::string_view text);

/// Takes what stands before the next `separator` off the front, and the separator with it; all of
/// the text where there is none.
std::string_view takeUntil(std::string_view& text, char separator);

/// The words between blanks.
std::vector<std::string> words(std::string_view text);

/// A decimal number without sign, alone in its text.
std::optional<std::uint64_t> parseNumber(std::string_view text);

/// The text, or nothing where it is empty.
std::optional<std::string> told(std::string text);

/// Well-formed UTF-8: what was none becomes U+FFFD. JSON can hold nothing else.
std::string validText(std::string_view text);

/// For a terminal: UTF-8 stays, a control character becomes a question mark.
std::string printable(std::string_view text);

/// The distribution's name in the text of a release file: the value of PRETTY_NAME, its quotes and
/// escapes resolved as a shell would, else the first line. Nothing where there is neither.
std::optional<std::string> systemTitle(std::string_view releaseText);

/// The choice that the kernel marks: "madvise" of "always [madvise] never".
std::optional<std::string> chosenWord(std::string_view text);

}  // namespace machine
