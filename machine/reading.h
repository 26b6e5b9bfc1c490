/// Reading the files of /proc, /sys and /etc. Paths begin with one of these; nothing is returned
/// for a file that is not there, cannot be read or does not hold what was asked for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

/// What Linux tells of CPUs lies here.
inline constexpr const char* cpuFolder = "/sys/devices/system/cpu";

/// All of the file, as it is.
std::optional<std::string> readFile(const Sources& sources, const std::string& path);

/// Its first line, trimmed and as valid UTF-8; an empty one is nothing.
std::optional<std::string> readLine(const Sources& sources, const std::string& path);

/// A line that is a decimal number.
std::optional<std::uint64_t> readNumber(const Sources& sources, const std::string& path);

/// A line that is a list; an empty line is an empty list.
std::optional<NumberList> readList(const Sources& sources, const std::string& path);

/// Hands over each "name: value" line of a text, both trimmed.
void eachField(std::string_view text,
               const std::function<void(std::string_view name, std::string_view value)>& take);

/// The names in a folder, in order; none where it cannot be read.
std::vector<std::string> namesIn(const Sources& sources, const std::string& path);

}  // namespace machine
