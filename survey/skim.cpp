#include "survey/skim.h"

#include <algorithm>

namespace survey {
namespace {

/// Past the closing quote of the string that starts at `at`.
std::size_t endOfString(std::string_view json, std::size_t at) {
    for (++at; at < json.size() && json[at] != '"'; ++at)
        if (json[at] == '\\')
            ++at;
    return std::min(at + 1, json.size());
}

std::size_t skipBlanks(std::string_view json, std::size_t at) {
    return std::min(json.find_first_not_of(" \t\r\n", at), json.size());
}

/// The comma or bracket that ends the value at `at`, or the end of the text.
std::size_t endOfValue(std::string_view json, std::size_t at) {
    for (int depth = 0; at < json.size(); ++at) {
        const char character = json[at];
        if (character == '"') {
            at = endOfString(json, at) - 1;
        } else if (character == '[' || character == '{') {
            ++depth;
        } else if (character == ']' || character == '}') {
            if (depth == 0)
                return at;
            --depth;
        } else if (character == ',' && depth == 0) {
            return at;
        }
    }
    return at;
}

}  // namespace

std::string withoutMembers(std::string_view json, std::initializer_list<std::string_view> names) {
    std::string kept;
    std::size_t done = 0;  // what stands before is copied or left out
    for (std::size_t at = json.find('"'); at != std::string_view::npos; at = json.find('"', at)) {
        const std::size_t end = endOfString(json, at);
        const std::size_t colon = skipBlanks(json, end);
        const bool isName = colon < json.size() && json[colon] == ':';
        if (isName && std::ranges::find(names, json.substr(at + 1, end - at - 2)) != names.end()) {
            kept.append(json, done, colon + 1 - done).append("null");
            done = at = endOfValue(json, colon + 1);
        } else {
            at = end;
        }
    }
    return kept.append(json, done);
}

}  // namespace survey
