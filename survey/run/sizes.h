/// The sizes of --size.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace survey {

/// Bytes, from sizes and ranges between commas: "16K,8M"; "4K-1M" doubles from one end to the
/// other; "4K-1M/2" has two sizes in each octave, at equal distances. Sizes of a range are rounded
/// to whole pages of `pageBytes`, equal ones merged. Throws std::invalid_argument, which names the
/// item, for what is no such list, a range that runs backwards, and sizes of 0 or of 4 GiB and
/// more.
std::vector<std::uint64_t> parseSizes(const std::string& text, std::uint64_t pageBytes);

/// The range from `first` to `last`, with so many sizes in each octave.
std::vector<std::uint64_t> sizesBetween(std::uint64_t first, std::uint64_t last, unsigned perOctave,
                                        std::uint64_t pageBytes);

}  // namespace survey
