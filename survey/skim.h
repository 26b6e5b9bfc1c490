/// JSON without what a reader does not want.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace survey {

/// The text with null for the value of every member of these names, however deep. Values are
/// skipped, not parsed: many times as fast, and what is wrong inside them is not noticed. The names
/// must stand in the text as they are, without escapes. A text that is cut off stays no whole JSON.
std::string withoutMembers(std::string_view json, std::initializer_list<std::string_view> names);

}  // namespace survey
