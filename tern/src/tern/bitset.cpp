#include "tern/bitset.h"

#include <algorithm>
#include <bit>

int tern_lowest_set_bit(std::uint32_t word) {
    return word == 0 ? -1 : std::countr_zero(word);
}

std::uint32_t tern_bitset_find_first(const std::uint32_t* bitmap, std::uint32_t size) {
    const std::uint32_t words = size / 32 + (size % 32 != 0);
    for (std::uint32_t i = 0; i < words; ++i)
        if (bitmap[i] != 0)
            return 32 * i + static_cast<std::uint32_t>(std::countr_zero(bitmap[i]));
    return size;
}

std::uint32_t tern_bitset_find_next(const std::uint32_t* bitmap, std::uint32_t size,
                                    std::uint32_t start) {
    if (start >= size)
        return size;
    const std::uint32_t word = start / 32;
    const std::uint32_t rest = bitmap[word] & (~std::uint32_t{0} << (start % 32));
    if (rest != 0)
        return 32 * word + static_cast<std::uint32_t>(std::countr_zero(rest));
    if (size - 32 * word <= 32)
        return size;
    const std::uint32_t next = 32 * (word + 1);
    return next + tern_bitset_find_first(bitmap + word + 1, size - next);
}
