// Load, load, store: word i of the first and of the second quarter of the array are loaded and
// combined, and the result is stored to word i of the third. The last quarter is not touched.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "moves.h"

namespace Kestrel {
namespace {

template <std::uint32_t width>
std::uint64_t sweep(std::byte* begin, const std::byte* end, std::uint32_t repeat,
                    std::uint32_t word) {
    constexpr std::uint32_t unroll = 8, block = unroll * width;
    // n words make quarters of n / 4. What is left of a quarter when n is no multiple of four goes
    // by 4 bytes, so that exactly three quarters move.
    const std::size_t quarter = static_cast<std::size_t>(end - begin) / word * (word / 4);
    const std::size_t inBlocks = quarter / block * block;
    const std::size_t inRegisters = quarter / width * width;
    std::byte *const second = begin + quarter, *const third = second + quarter;
    return timed([=] {
        for (std::uint32_t i = 0; i < repeat; ++i) {
            if (inBlocks != 0)
                combineAll<width, unroll>(begin, second, third, begin + inBlocks);
            if (inRegisters != inBlocks)
                combineAll<width, 1>(begin + inBlocks, second + inBlocks, third + inBlocks,
                                     begin + inRegisters);
            if (quarter != inRegisters)
                combineAll<4, 1>(begin + inRegisters, second + inRegisters, third + inRegisters,
                                 begin + quarter);
        }
    });
}

template <std::uint32_t word>
std::uint64_t sweepWidest(std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    return withWidestRegister<word>(
        [=]<std::uint32_t width> { return sweep<width>(begin, end, repeat, word); });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_lls_16(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<16>(begin, end, repeat);
}

std::uint64_t kestrel___array_lls_32(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<32>(begin, end, repeat);
}

std::uint64_t kestrel___array_lls_64(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<64>(begin, end, repeat);
}
