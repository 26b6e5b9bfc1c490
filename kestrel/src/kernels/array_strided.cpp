// Strided sweeps: one word every `stride` bytes, loads only.
//
// The work is (end - begin) / stride words, always. A word that would reach past the end, as the
// last ones do when the stride is shorter than the word, is read at the last place where it fits.
#include <algorithm>

#include "bracket.h"
#include "kestrel/kernels.h"
#include "widest_register.h"

namespace Kestrel {
namespace {

template <class Word>
std::uint64_t sweep(const std::byte* begin, const std::byte* end, std::uint32_t stride) {
    const std::size_t size = static_cast<std::size_t>(end - begin);
    if (size < Word::bytes)
        return 0;
    constexpr std::uint32_t unroll = 4;
    const std::size_t count = size / stride;
    const std::size_t whole = std::min(count, (size - Word::bytes) / stride + 1);
    const std::byte* const lastPlace = end - Word::bytes;
    return timed([=] {
        const std::byte* p = begin;
        const std::size_t stride3 = std::size_t{3} * stride;
        for (std::size_t i = whole / unroll; i != 0; --i) {
            Word::load(p);
            Word::load(p + stride);
            Word::load(p + std::size_t{2} * stride);
            Word::load(p + stride3);
            p += std::size_t{unroll} * stride;
        }
        for (std::size_t i = whole % unroll; i != 0; --i, p += stride)
            Word::load(p);
        for (std::size_t i = count - whole; i != 0; --i)
            Word::load(lastPlace);
    });
}

template <std::uint32_t size>
std::uint64_t sweepWidest(const std::byte* begin, const std::byte* end, std::uint32_t stride) {
    return withWidestRegister<size>(
        [=]<class Word>(Word) { return sweep<Word>(begin, end, stride); });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_stride_8(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweep<Kestrel::Qword>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_16(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweep<Kestrel::Xmm>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_32(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweepWidest<32>(begin, end, stride);
}

std::uint64_t kestrel___array_stride_64(std::byte* begin, std::byte* end, std::uint32_t stride) {
    return Kestrel::sweepWidest<64>(begin, end, stride);
}
