// Contiguous sweeps: loads only, each whole word of the array once.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "moves.h"

namespace Kestrel {
namespace {

template <std::uint32_t width>
std::uint64_t sweep(const std::byte* begin, const std::byte* end, std::uint32_t repeat,
                    std::uint32_t word = width) {
    // With so many loads a turn the loop's own instructions cost nothing.
    constexpr std::uint32_t unroll = 16, block = unroll * width;
    const std::size_t size = static_cast<std::size_t>(end - begin) / word * word;
    const std::byte* const lastBlock = begin + size / block * block;
    const std::byte* const lastWord = begin + size;
    return timed([=] {
        for (std::uint32_t i = 0; i < repeat; ++i) {
            if (begin != lastBlock)
                loadAll<width, unroll>(begin, lastBlock);
            if (lastBlock != lastWord)
                loadAll<width, 1>(lastBlock, lastWord);
        }
    });
}

template <std::uint32_t word>
std::uint64_t sweepWidest(const std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    return withWidestRegister<word>(
        [=]<std::uint32_t width> { return sweep<width>(begin, end, repeat, word); });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_8(std::byte* begin, std::byte* end) {
    return Kestrel::sweep<8>(begin, end, 1);
}

std::uint64_t kestrel___array_16(std::byte* begin, std::byte* end) {
    return Kestrel::sweep<16>(begin, end, 1);
}

std::uint64_t kestrel___array_32(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<32>(begin, end, repeat);
}

std::uint64_t kestrel___array_64(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<64>(begin, end, repeat);
}
