/// Searching words and bitmaps for set bits. Bit i of a bitmap is bit i % 32 of word i / 32.
/// Pure functions of their arguments.
#pragma once

#include <cstdint>

extern "C" {

/// Returns the index, 0 to 31, of the lowest set bit of `word`; -1 for zero.
int tern_lowest_set_bit(std::uint32_t word);

/// Returns the index of the first set bit of the (size + 31) / 32 words at `bitmap`, or `size` when
/// none is set. `size` is in bits; bits of the last word beyond it must be clear.
std::uint32_t tern_bitset_find_first(const std::uint32_t* bitmap, std::uint32_t size);

/// The same for the first set bit at or after `start`; also `size` when `start` is not below it.
std::uint32_t tern_bitset_find_next(const std::uint32_t* bitmap, std::uint32_t size,
                                    std::uint32_t start);

}  // extern "C"
