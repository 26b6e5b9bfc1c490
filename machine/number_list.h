/// Lists of CPUs and of nodes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace machine {

/// Numbers in increasing order, none twice.
using NumberList = std::vector<unsigned>;

/// Reads a list as the kernel writes it, "0-3,8"; an empty text is an empty list. Nothing for any
/// other text, and for a number above 65535: no kernel counts so far, and a range up to there must
/// not fill the memory.
std::optional<NumberList> parseNumberList(std::string_view text);

/// The list as the kernel would write it, which is also how the command line of kestrel takes it.
std::string listText(const NumberList& list);

bool contains(const NumberList& list, unsigned number);

/// The numbers that stand in both.
NumberList common(const NumberList& a, const NumberList& b);

}  // namespace machine
