// The table of limits, by signatures of processors that need not be here.
#include "processor/limits.h"

#include <gtest/gtest.h>

#include "processor/middle_mean.h"

namespace processor {
namespace {

// Bytes a cycle that an undisturbed Emerald Rapids was seen to move.
TEST(Limits, GoldenCoveReachesButDoesNotPassThem) {
    struct Seen {
        std::uint32_t width, loads, stores;
        double bytesPerCycle;
    };
    for (const std::uint32_t model : {0x8F, 0xCF}) {
        const auto limits = limitsOf({"GenuineIntel", 6, model});
        ASSERT_TRUE(limits);
        for (const Seen& seen :
             {Seen{8, 1, 0, 22.6}, Seen{16, 1, 0, 45}, Seen{32, 1, 0, 85}, Seen{64, 1, 0, 125},
              Seen{16, 2, 1, 63}, Seen{32, 2, 1, 90}, Seen{64, 2, 1, 158}}) {
            const auto limit = limits->bytesPerCycle(seen.width, seen.loads, seen.stores);
            ASSERT_TRUE(limit);
            EXPECT_GE(*limit, seen.bytesPerCycle) << seen.width << " bytes";
            EXPECT_LT(*limit, 2 * seen.bytesPerCycle) << seen.width << " bytes";
        }
    }
}

// Whichever unit is the narrowest: loads, stores, or addresses.
TEST(Limits, TheScarcestUnitLimits) {
    const Limits unit{.loads = {.upTo16 = 4, .upTo32 = 2},
                      .stores = {.upTo16 = 1, .upTo32 = 2},
                      .memoryOperations = 3,
                      .additions = {},
                      .multiplications = {},
                      .source = ""};
    EXPECT_EQ(unit.bytesPerCycle(16, 1, 0), 16 * 3);
    EXPECT_EQ(unit.bytesPerCycle(16, 1, 1), 16 * 2);
    EXPECT_EQ(unit.bytesPerCycle(32, 1, 0), 32 * 2);
    EXPECT_EQ(unit.bytesPerCycle(64, 1, 0), std::nullopt);
}

TEST(Limits, ModelsOfOneFamilyDiffer) {
    const auto loads = [](const char* vendor, std::uint32_t family, std::uint32_t model) {
        return limitsOf({vendor, family, model}).value().loads;
    };
    EXPECT_EQ(loads("AuthenticAMD", 0x17, 0x01).of(32), 1);
    EXPECT_EQ(loads("AuthenticAMD", 0x17, 0x31).of(32), 2);
    EXPECT_EQ(loads("AuthenticAMD", 0x17, 0x50).of(32), 1);
    EXPECT_EQ(loads("AuthenticAMD", 0x19, 0x21).of(64), std::nullopt);
    EXPECT_EQ(loads("AuthenticAMD", 0x19, 0x61).of(64), 1);
    EXPECT_EQ(loads("GenuineIntel", 6, 0x55).of(32), 2);
    EXPECT_EQ(loads("GenuineIntel", 6, 0x8F).of(32), 3);
    for (const Signature& unknown : {Signature{"GenuineIntel", 6, 0xA7},
                                     {"GenuineIntel", 6, 0x97},
                                     {"GenuineIntel", 0x19, 0x61},
                                     {"AuthenticAMD", 0x1A, 0x24}})
        EXPECT_FALSE(limitsOf(unknown)) << unknown.vendor << " " << unknown.model;
}

TEST(MiddleMean, OutliersDoNotCount) {
    EXPECT_EQ(middleMean({}), 0);
    EXPECT_EQ(middleMean({3, 5}), 4);
    EXPECT_EQ(middleMean({1e9, 2, 4, -1e9}), 3);
}

}  // namespace
}  // namespace processor
