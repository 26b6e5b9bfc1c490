#include "mask.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/lexical_cast.hpp>
#include <cstdint>
#include <new>

#include "kestrel/array.h"

namespace Kestrel {
namespace {

using boost::algorithm::is_any_of;
using boost::algorithm::split;

/// Digits with an optional plus sign, up to the largest unsigned number. The library's conversion
/// would also take "-1" as a number; the caller has split at every minus sign.
bool parseNumber(const std::string& text, unsigned& number) {
    return boost::conversion::try_lexical_convert(text, number);
}

MaskError appendItem(std::string item, std::vector<unsigned>& out) {
    boost::algorithm::trim(item);
    std::vector<std::string> parts;
    split(parts, item, is_any_of("-"));
    unsigned first = 0, last = 0;
    if (parts.size() > 2 || !parseNumber(parts.front(), first) || !parseNumber(parts.back(), last))
        return meSyntax;

    const auto [low, high] = std::minmax(first, last);
    const std::uint64_t length = std::uint64_t{high} - low + 1;
    if (length > longestMask - out.size())
        return meNoMemory;
    for (std::uint64_t number = low; number <= high; ++number)
        out.push_back(static_cast<unsigned>(number));
    return meOk;
}

}  // namespace

int parseMask(const std::string& text, std::vector<unsigned>& out) {
    try {
        std::vector<std::string> items;
        split(items, text, is_any_of(","));
        for (const std::string& item : items) {
            const MaskError error = appendItem(item, out);
            if (error == meNoMemory)
                out.clear();
            if (error != meOk)
                return error;
        }
        return meOk;
    } catch (const std::bad_alloc&) {
        out.clear();
        return meNoMemory;
    }
}

bool parseNodes(const std::string& text, unsigned long& nodes) {
    std::vector<unsigned> list;
    if (parseMask(text, list) != meOk ||
        std::ranges::any_of(list, [](unsigned node) { return node >= nodeBitCount; }))
        return false;
    list.resize(std::min<std::size_t>(list.size(), nodeBitCount));
    nodes = 0;
    for (const unsigned node : list)
        nodes |= 1ul << node;
    return true;
}

}  // namespace Kestrel
