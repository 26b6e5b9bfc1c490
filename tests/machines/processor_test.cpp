#include <gtest/gtest.h>

#include "kernels/instruction_sets.h"

// Without it the kernels' tests would pass there and show nothing of AVX-512.
TEST(Processor, HasAvx512) {
    EXPECT_TRUE(Kestrel::instructionSets.avx512f);
}
