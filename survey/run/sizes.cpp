#include "survey/run/sizes.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "machine/text.h"
#include "utilkit/scaled_number.h"

namespace survey {
namespace {

[[noreturn]] void refuse(std::string_view item, const std::string& why) {
    throw std::invalid_argument("'" + std::string(item) + "' " + why);
}

std::uint64_t parseSize(std::string_view text, std::string_view item) {
    const auto size = utilkit::parseScaled(text);
    if (!size)
        refuse(item, "is not a size (such as 16K, 8M, 4K-1M or 4K-1M/2)");
    if (*size == 0 || *size > UINT32_MAX)
        refuse(item, "is not a size from 1 byte to just below 4G");
    return *size;
}

unsigned parsePerOctave(std::string_view text, std::string_view item) {
    constexpr std::uint64_t most = 64;
    const auto number = machine::parseNumber(text);
    if (!number || *number == 0 || *number > most)
        refuse(item, "asks for a number of sizes in an octave that is not from 1 to 64");
    return static_cast<unsigned>(*number);
}

void appendItem(std::string_view item, std::uint64_t pageBytes, std::vector<std::uint64_t>& sizes) {
    std::string_view rest = item;
    const bool perOctaveGiven = rest.find('/') != std::string_view::npos;
    std::string_view range = machine::takeUntil(rest, '/');
    const bool isRange = range.find('-') != std::string_view::npos;
    if (!isRange && perOctaveGiven)
        refuse(item, "is not a range, and only a range has sizes in an octave");
    const std::string_view firstText = machine::takeUntil(range, '-');
    const std::uint64_t first = parseSize(firstText, item);
    if (!isRange) {
        sizes.push_back(first);
        return;
    }
    const std::uint64_t last = parseSize(range, item);
    if (last < first)
        refuse(item, "runs backwards");
    const unsigned perOctave = perOctaveGiven ? parsePerOctave(rest, item) : 1;
    std::ranges::copy(sizesBetween(first, last, perOctave, pageBytes), std::back_inserter(sizes));
}

}  // namespace

std::vector<std::uint64_t> sizesBetween(std::uint64_t first, std::uint64_t last, unsigned perOctave,
                                        std::uint64_t pageBytes) {
    const std::uint64_t largest = UINT32_MAX / pageBytes * pageBytes;
    std::vector<std::uint64_t> sizes;
    for (std::uint64_t octave = first; octave <= last; octave *= 2)
        for (unsigned i = 0; i < perOctave; ++i) {
            const std::uint64_t exact = octave + octave * i / perOctave;
            const std::uint64_t whole = (exact + pageBytes / 2) / pageBytes * pageBytes;
            if (exact <= last)
                sizes.push_back(std::clamp(whole, pageBytes, largest));
        }
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    return sizes;
}

std::vector<std::uint64_t> parseSizes(const std::string& text, std::uint64_t pageBytes) {
    std::vector<std::uint64_t> sizes;
    std::string_view rest = text;
    bool more = true;
    while (more) {
        more = rest.find(',') != std::string_view::npos;
        const std::string_view item = machine::takeUntil(rest, ',');
        if (item.empty())
            refuse(text, "has an empty size");
        appendItem(item, pageBytes, sizes);
    }
    return sizes;
}

}  // namespace survey
