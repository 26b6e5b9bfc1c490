/// Making the system's own texts fit for a page.
#pragma once

#include <string>
#include <string_view>

/// The distribution's name in the text of a release file: the value of PRETTY_NAME without its
/// quotes, else the first line. Empty where there is neither.
std::string system_title(std::string_view release_text);

/// `text` with a question mark for every byte that is not printable ASCII.
std::string printable(std::string_view text);
