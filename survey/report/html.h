/// Text as HTML. Whatever a survey says passes through here, so that none of it is markup or
/// script.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "survey/record.h"

namespace survey {

/// For the text of an element, and for an attribute in double quotes. The text is UTF-8; control
/// characters become U+FFFD, as HTML allows none.
std::string escaped(std::string_view text);

/// JSON that may stand in a <script> element: plain ASCII without <, > and &, which nothing that
/// reads HTML or script can take for the end of it.
std::string scriptText(const Json& json);

/// The template with each {{name}} replaced by its value, which must be HTML already. What a value
/// holds is not looked at again. Throws std::out_of_range for a name without a value.
std::string filled(std::string_view page, const std::map<std::string, std::string>& values);

/// Texts, not HTML.
struct Cell {
    std::string text;
    std::string note{};  ///< in small print after it
    std::string look{};  ///< a class of the style sheet
};

/// The look of cells that are flush left among figures, and of their head.
inline constexpr const char* textLook = "text";

struct Table {
    std::string caption;
    std::vector<std::string> heads;       ///< the first one is that of the rows' names
    std::vector<std::vector<Cell>> rows;  ///< as many as there are heads
    bool figures = true;                  ///< cells are flush right
};
std::string htmlOf(const Table& table);

/// What is shown on demand.
std::string folded(std::string_view summary, const std::string& html);
std::string paragraph(std::string_view text);

}  // namespace survey
