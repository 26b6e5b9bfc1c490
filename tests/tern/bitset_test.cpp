#include "tern/bitset.h"

#include <gtest/gtest.h>

TEST(Bitset, FindsAgreeWithTestingEveryBit) {
    EXPECT_EQ(tern_lowest_set_bit(0), -1);
    EXPECT_EQ(tern_lowest_set_bit(0x80000000), 31);
    const std::uint32_t bitmap[] = {0x80000001, 0, 0x10, 0};
    for (std::uint32_t size : {0, 32, 64, 70, 96, 97, 128}) {
        for (std::uint32_t start = 0; start <= size + 33; ++start) {
            std::uint32_t first = std::min(start, size);
            while (first < size && (bitmap[first / 32] >> (first % 32) & 1) == 0)
                ++first;
            EXPECT_EQ(tern_bitset_find_next(bitmap, size, start), first);
        }
    }
}
