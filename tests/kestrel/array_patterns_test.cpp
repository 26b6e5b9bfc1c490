#include "patterns/array_patterns.h"

#include <gtest/gtest.h>

#include <memory>

#include "guarded_memory.h"

using namespace Kestrel;

namespace {

struct Case {
    const char* name;
    std::unique_ptr<BenchmarkBasePattern> pattern;
    std::uint32_t size;
    PatternStatus status;
    std::uint32_t count = 0;
    std::uint32_t block = 0;    ///< bytes of the alternating fill
    std::uint64_t bytes = 0;    ///< of ten iterations
    std::uint32_t perPass = 0;  ///< iterations
    bool counts = true;         ///< a pass takes ticks
};

template <class Pattern, class... Arguments>
std::unique_ptr<BenchmarkBasePattern> make(Arguments... arguments) {
    return std::make_unique<Pattern>(arguments...);
}

void expectAlternating(const GuardedMemory& memory, const std::vector<std::byte>& before,
                       const Case& c) {
    const std::vector<std::byte> content = memory.copy();
    for (std::size_t i = 0; i < content.size(); ++i) {
        const std::size_t block = i / c.block;
        const std::byte expected =
            block >= c.count ? before[i] : static_cast<std::byte>(block % 2 == 0 ? 0xFF : 0);
        ASSERT_EQ(content[i], expected) << "byte " << i;
    }
}

}  // namespace

TEST(ArrayPatterns, PrepareFillsCountsAndAccounts) {
    const auto l = make<ArrayLPattern, int, int, int>;
    const auto lls = make<ArrayLLSPattern, int, int, int>;
    const auto fast = make<ArrayFASTMEMPattern>;
    const Case cases[] = {
        {"defaults", l(wc16, 16, 1000), 16384, psOk, 1024, 16, 163840, 1},
        {"repeats", l(wc64, 64, 1000), 16384, psOk, 256, 64, 163840, 1000},
        {"strided", l(wc8, 64, 1000), 4096, psOk, 64, 64, 5120, 1},
        {"odd stride, a tail", l(wc16, 24, 1), 4096, psOk, 170, 24, 27200, 1},
        {"stride of one", l(wc32, 1, 1), 4096, psOk, 4096, 1, 1310720, 1},
        {"long blocks", l(wc8, 3000, 1), 20000, psOk, 6, 3000, 480, 1},
        {"many short blocks", l(wc8, 1900, 1), 100000, psOk, 52, 1900, 4160, 1},
        {"stride beyond the array", l(wc8, 4097, 1), 4096, psInvalidArray},
        {"no array", l(wc8, 8, 1), 0, psInvalidArray},
        {"no stride", l(wc8, 0, 1), 4096, psInvalidParameters},
        {"no word", l(0, 8, 1), 4096, psInvalidParameters},
        {"no such word", l(5, 8, 1), 4096, psInvalidParameters},
        {"three quarters", lls(wc32, 32, 1000), 4096, psOk, 128, 32, 30720, 1000},
        {"lls of 8 bytes", lls(wc8, 8, 1000), 4096, psOk, 512, 8, 30720, 1000, false},
        {"lls, strided", lls(wc16, 64, 1000), 4096, psOk, 64, 64, 7680, 1000, false},
        {"fastmem", fast(), 4096, psOk, 64, 64, 30720, 1},
        {"fastmem, one block", fast(), 100, psOk, 1, 64, 480, 1},
        {"fastmem, too small", fast(), 63, psInvalidArray},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const GuardedMemory memory(std::max(c.size, 1u), GuardedMemory::atStart);
        const std::vector<std::byte> before = memory.copy();
        WorkerResult result;
        PatternState state;
        ASSERT_EQ(c.pattern->prepare(memory.begin(), c.size, result, state), c.status);
        if (c.status != psOk)
            continue;
        expectAlternating(memory, before, c);
        EXPECT_EQ(state.count, c.count);
        EXPECT_EQ(state.begin, memory.begin());
        EXPECT_EQ(state.end, memory.end());
        EXPECT_EQ(c.pattern->runPass(state) != 0, c.counts);
        EXPECT_EQ(c.pattern->iterationsPerPass(), c.perPass);
        result.iterations = 10;
        c.pattern->finish(state, result);
        EXPECT_EQ(result.bytes, c.bytes);
        EXPECT_EQ(c.pattern->prepare(nullptr, c.size, result, state), psInvalidArray);
    }
}
