// Load, load, store as in array_lls.cpp, in 64-byte steps and with non-temporal stores, which go
// to memory without reading the line into the caches first.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "widest_register.h"

namespace Kestrel {
namespace {

template <class Word>
std::uint64_t sweep(std::byte* begin, std::size_t quarter) {
    std::byte* const lastWord = begin + quarter / Word::bytes * Word::bytes;
    std::byte* const last = begin + quarter;
    return timed([=] {
        std::byte* p = begin;
        for (; p != lastWord; p += Word::bytes)
            Word::loadOrStream(p, p + quarter, p + 2 * quarter);
        for (; p != last; p += Xmm::bytes)
            Xmm::loadOrStream(p, p + quarter, p + 2 * quarter);
        // A non-temporal store is done when it has left its buffer; that belongs to the span.
        asm volatile("sfence" ::: "memory");
    });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_fastmem(std::byte* begin, std::byte* end) {
    using namespace Kestrel;
    constexpr std::uint32_t step = 64;
    // A quarter of n whole blocks is n * 16 bytes, whatever n is.
    const std::size_t quarter = static_cast<std::size_t>(end - begin) / step * (step / 4);
    // Wide non-temporal stores fault where they are not aligned; arrays of whole pages never are.
    if ((reinterpret_cast<std::uintptr_t>(begin) + 2 * quarter) % step != 0)
        return sweep<Word<Xmm, step>>(begin, quarter);
    return withWidestRegister<step>([=]<class Word>(Word) { return sweep<Word>(begin, quarter); });
}
