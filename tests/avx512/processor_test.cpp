#include <gtest/gtest.h>

#include "kernels/instruction_sets.h"

// Without it the tests beside this one would pass and show nothing of AVX-512.
TEST(Processor, HasAvx512) {
    EXPECT_TRUE(Kestrel::instructionSets.avx512f);
}
