/// Lists of CPUs and NUMA nodes as text.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kestrel {

enum MaskError : int {
    meOk = 1,
    meSyntax = 2,    ///< an item is no number and no single range
    meNoMemory = 3,  ///< no memory, or a list that is longer than any machine's
};

/// A longer list is refused before it is built: 0-4294967295 would take 16 GiB.
inline constexpr std::size_t longestMask = 65536;

/// Appends the numbers of a text such as "0,2,4-7" to `out` (empty on entry) in text order, ranges
/// ascending, duplicates kept. Returns a MaskError; `out` is of use only after meOk.
int parseMask(const std::string& text, std::vector<unsigned>& out);

/// Stores the bit set of the nodes of such a list, bit n for node n; of a list of more than 32
/// entries only the first 32 are looked at. False, `nodes` untouched, where the text is no list or
/// names a node above 31.
bool parseNodes(const std::string& text, unsigned long& nodes);

}  // namespace Kestrel
