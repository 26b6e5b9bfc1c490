/// The processor's brand text: reading it, and the nominal frequency in its last word.
#pragma once

#include <array>
#include <string_view>

#include "tern/src/linux/processor/cpuid_leaf.h"

namespace tern {

/// Fills `text` with the 48 bytes; false, with `text` untouched, where the processor has none.
bool read_brand_text(cpuid_instruction cpuid, char* text);

/// The frequency in hertz in the last word of a brand text, as in "@ 2.70GHz"; 0 where that word
/// carries none, or one beyond 32 bits of hundredths. The digits after the point count as
/// hundredths, however many there are. A unit other than M and G counts as hertz.
std::uint64_t brand_frequency(std::string_view text);

}  // namespace tern
