#include "kestrel/array.h"

#include <gtest/gtest.h>

#include <fstream>

#include "patterns/array_patterns.h"
#include "tern/run_services.h"

using namespace Kestrel;

namespace {

constexpr unsigned long nodeZero = 1;

/// Mappings of this process. Large ones only: the allocator's own would disturb the count.
std::size_t mappedPages() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages;
}

}  // namespace

TEST(Array, RoundsUpToWholePagesIn32Bits) {
    const struct {
        std::uint32_t size, kind, length;
    } cases[] = {{1, pkSystem, 4096},
                 {4096, pkSystem, 4096},
                 {4096, pk4K, 4096},
                 {4097, pk4K, 8192},
                 {(2u << 20) + 1, pk2M, 4u << 20},
                 {1, pk1G, 1u << 30},
                 {0xFFFFF000, pk4K, 0xFFFFF000},
                 {0xFFFFF001, pk4K, 0},
                 {0xFFFFFFFF, pk4K, 0},
                 {0xC0000001, pk1G, 0},
                 {1, 0, 0},
                 {1, 5, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(Array::roundedLength(c.size, c.kind), c.length) << c.size << " of " << c.kind;
}

TEST(Array, RefusesBadArgumentsAndLeavesNothing) {
    const unsigned long none = 0, beyondWidth = 4, missing = 1ul << 30, partlyMissing = 1 | missing;
    const bool numa = tern_file_exists("/sys/devices/system/node") != 0;
    const Array::Error unbound = numa ? Array::aeBindFailed : Array::aeOk;
    constexpr std::uint32_t big = 256u << 20;
    const struct {
        const char* name;
        std::uint32_t size, kind;
        const unsigned long* mask;
        std::uint32_t maxNode;
        Array::Error error = Array::aeInvalidArgument;
    } cases[] = {{"no size", 0, pkSystem, &nodeZero, 32},
                 {"kind 0", big, 0, &nodeZero, 32},
                 {"kind 5", big, 5, &nodeZero, 32},
                 {"no mask", big, pkSystem, nullptr, 32},
                 {"no width", big, pkSystem, &nodeZero, 0},
                 {"no node", big, pkSystem, &none, 32},
                 {"no node within the width", big, pkSystem, &beyondWidth, 2},
                 {"rounding overflows", 0xFFFFFFFF, pkSystem, &nodeZero, 32, Array::aeMapFailed},
                 {"a node that is not there", big, pkSystem, &missing, 32, unbound},
                 {"one node of two is not there", big, pkSystem, &partlyMissing, 32, unbound}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::size_t before = mappedPages();
        IArray* array = nullptr;
        EXPECT_EQ(Array::create(c.size, c.kind, c.mask, c.maxNode, &array), c.error);
        EXPECT_EQ(array == nullptr, c.error != Array::aeOk);
        EXPECT_EQ(Array::destroy(array), array != nullptr ? Array::aeOk : Array::aeInvalidArgument);
        EXPECT_LT(mappedPages(), before + big / 4096 / 2);
    }
}

TEST(Array, RunsThePatternOverItsMemoryAndReleasesTwice) {
    IArray* made = nullptr;
    ASSERT_EQ(Array::create(10000, pkSystem, &nodeZero, 32, &made), Array::aeOk);
    auto* const array = static_cast<Array*>(made);
    ArrayLPattern pattern(wc64, 64, 1);  // writes all that it is given
    WorkerResult result;
    const RunPhase phase = rpSinglePass;
    EXPECT_EQ(array->run(pattern, result, phase), psOk);
    EXPECT_EQ(result.bytes, 12288u);
    EXPECT_EQ(array->release(), Array::aeOk);
    EXPECT_EQ(array->release(), Array::aeOk);
    EXPECT_EQ(array->run(pattern, result, phase), psInvalidArray);
    EXPECT_EQ(Array::destroy(array), Array::aeOk);
}
