// Load, load, store: word i of the first and of the second quarter of the array are loaded and
// combined, and the result is stored to word i of the third. The last quarter is not touched.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "widest_register.h"

namespace Kestrel {
namespace {

/// `count` words of the array make quarters of count / 4 words. What is left of a quarter when
/// `count` is no multiple of four goes by 4 bytes, so that exactly three quarters move.
template <class Word>
std::uint64_t sweep(std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    constexpr std::uint32_t unroll = 256 / Word::bytes;
    constexpr std::uint32_t block = unroll * Word::bytes;
    const std::size_t quarter =
        static_cast<std::size_t>(end - begin) / Word::bytes * (Word::bytes / 4);
    std::byte* const lastBlock = begin + quarter / block * block;
    std::byte* const lastWord = begin + quarter / Word::bytes * Word::bytes;
    std::byte* const last = begin + quarter;
    return timed([=] {
        for (std::uint32_t i = 0; i < repeat; ++i) {
            std::byte* p = begin;
            for (; p != lastBlock; p += block)
                unrolled<unroll, Word::bytes>([=](std::uint32_t offset) {
                    Word::loadOr(p + offset, p + quarter + offset, p + 2 * quarter + offset);
                });
            for (; p != lastWord; p += Word::bytes)
                Word::loadOr(p, p + quarter, p + 2 * quarter);
            for (; p != last; p += Dword::bytes)
                Dword::loadOr(p, p + quarter, p + 2 * quarter);
        }
    });
}

template <std::uint32_t size>
std::uint64_t sweepWidest(std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    return withWidestRegister<size>(
        [=]<class Word>(Word) { return sweep<Word>(begin, end, repeat); });
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
