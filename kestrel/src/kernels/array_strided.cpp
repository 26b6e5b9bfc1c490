// Strided sweeps: one word every `stride` bytes, loads only.
//
// The work is (end - begin) / stride words, always. A word that would reach past the end, as the
// last ones do when the stride is shorter than the word, is read at the last place where it fits.
#include <algorithm>

#include "bracket.h"
#include "kestrel/kernels.h"
#include "moves.h"

namespace Kestrel {
namespace {

template <std::uint32_t width, std::uint32_t word = width>
std::uint64_t sweep(const std::byte* begin, const std::byte* end, std::uint32_t stride) {
    constexpr std::uint32_t perWord = word / width;
    const auto size = static_cast<std::size_t>(end - begin);
    if (size < word)
        return 0;
    const std::size_t count = size / stride;
    const std::size_t whole = std::min(count, (size - word) / stride + 1);
    const std::size_t fours = whole / 4, ones = whole % 4, atEnd = count - whole;
    const std::byte* const lastPlace = end - word;
    return timed([=] {
        const std::byte* p = begin;
        if (fours != 0)
            p = loadStridedByFour<width, perWord>(p, stride, fours);
        if (ones != 0)
            loadStrided<width, perWord>(p, stride, ones);
        if (atEnd != 0)
            loadStrided<width, perWord>(lastPlace, 0, atEnd);
    });
}

template <std::uint32_t word>
std::uint64_t sweepWidest(const std::byte* begin, const std::byte* end, std::uint32_t stride) {
    return withWidestRegister<word>(
        [=]<std::uint32_t width> { return sweep<width, word>(begin, end, stride); });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_stride_8(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweep<8>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_16(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweep<16>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_32(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweepWidest<32>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_64(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweepWidest<64>(begin, end, stride);
}
