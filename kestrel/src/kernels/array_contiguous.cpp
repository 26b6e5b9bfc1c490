// Contiguous sweeps: loads only, each whole word of the array once.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "widest_register.h"

namespace Kestrel {
namespace {

template <class Word>
std::uint64_t sweep(const std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    // So many loads a turn that the loop's own instructions hide behind them.
    constexpr std::uint32_t unroll = 16;
    constexpr std::uint32_t block = unroll * Word::bytes;
    const std::size_t words = static_cast<std::size_t>(end - begin) / Word::bytes;
    const std::byte* const lastBlock = begin + words / unroll * block;
    const std::byte* const lastWord = begin + words * Word::bytes;
    return timed([=] {
        for (std::uint32_t i = 0; i < repeat; ++i) {
            const std::byte* p = begin;
            for (; p != lastBlock; p += block)
                unrolled<unroll, Word::bytes>(
                    [=](std::uint32_t offset) { Word::load(p + offset); });
            for (; p != lastWord; p += Word::bytes)
                Word::load(p);
        }
    });
}

template <std::uint32_t size>
std::uint64_t sweepWidest(const std::byte* begin, const std::byte* end, std::uint32_t repeat) {
    return withWidestRegister<size>(
        [=]<class Word>(Word) { return sweep<Word>(begin, end, repeat); });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_8(std::byte* begin, std::byte* end) {
    return Kestrel::sweep<Kestrel::Qword>(begin, end, 1);
}

std::uint64_t kestrel___array_16(std::byte* begin, std::byte* end) {
    return Kestrel::sweep<Kestrel::Xmm>(begin, end, 1);
}

std::uint64_t kestrel___array_32(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<32>(begin, end, repeat);
}

std::uint64_t kestrel___array_64(std::byte* begin, std::byte* end, std::uint32_t repeat) {
    return Kestrel::sweepWidest<64>(begin, end, repeat);
}
