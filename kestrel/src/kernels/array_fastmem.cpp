// Load, load, store as in array_lls.cpp, in 64-byte steps and with non-temporal stores, which go
// to memory without reading the line into the caches first.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "moves.h"

namespace Kestrel {
namespace {

template <std::uint32_t width>
std::uint64_t sweep(std::byte* begin, std::size_t quarter) {
    const std::size_t inBlocks = quarter / fastmemBlock * fastmemBlock;
    std::byte *const second = begin + quarter, *const third = second + quarter;
    return timed([=] {
        if (inBlocks != 0)
            combineAll<width, fastmemBlock / width, true>(begin, second, third, begin + inBlocks);
        if (quarter != inBlocks)
            combineAll<16, 1, true>(begin + inBlocks, second + inBlocks, third + inBlocks,
                                    begin + quarter);
        // A non-temporal store is done when it has left its buffer; that belongs to the span.
        asm volatile("sfence" ::: "memory");
    });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_fastmem(std::byte* begin, std::byte* end) {
    using namespace Kestrel;
    // A quarter of n whole steps is n * 16 bytes, whatever n is.
    const std::size_t quarter =
        static_cast<std::size_t>(end - begin) / fastmemBlock * (fastmemBlock / 4);
    // Wide non-temporal stores fault where they are not aligned. In whole pages they always are.
    if ((reinterpret_cast<std::uintptr_t>(begin) + 2 * quarter) % fastmemBlock != 0)
        return sweep<16>(begin, quarter);
    return withWidestRegister<fastmemBlock>(
        [=]<std::uint32_t width> { return sweep<width>(begin, quarter); });
}
