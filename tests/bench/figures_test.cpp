// What the benchmark makes of its samples.
#include <gtest/gtest.h>

#include "bench/sample.h"
#include "bench/table.h"

namespace bench {
namespace {

Sample sample(double cycles, double additions) {
    return {.ticksPerCall = cycles / 2, .cyclesPerCall = cycles, .additionsPerCycle = additions};
}

TEST(Samples, DisturbedOnesDoNotCount) {
    Samples samples;
    EXPECT_EQ(samples.bestCycles(), 0);
    samples.add({});
    EXPECT_EQ(samples.medianCycles(), 0);
    for (int i = 0; i < 20; ++i) {
        samples.add(sample(100 + i, 4 + i % 2 * 0.04));
        samples.add(sample(50 + i, 3.8));
    }
    samples.add(sample(120, 9));  // a misread probe, which must not make all others look disturbed
    EXPECT_EQ(samples.bestCycles(), 102);
    EXPECT_EQ(samples.bestTicks(), 51);
    EXPECT_EQ(samples.medianCycles(), 110);
}

TEST(Samples, TheBestIsWhatATenthReach) {
    Samples samples;
    for (int i = 0; i < 40; ++i)
        samples.add(sample(i == 0 ? 1 : 100 + i, 4));
    EXPECT_EQ(samples.bestCycles(), 104);
}

TEST(Table, AFigureAboveItsLimitIsNoShare) {
    EXPECT_EQ(shareOf(12, 24), 50);
    EXPECT_TRUE(shareOf(24.2, 24).is_number());
    EXPECT_EQ(shareOf(24.3, 24), "limit exceeded");
    EXPECT_TRUE(shareOf(std::nullopt, 24).is_null());
    EXPECT_TRUE(shareOf(12, std::nullopt).is_null());
}

}  // namespace
}  // namespace bench
