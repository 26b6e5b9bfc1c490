// Load, load, store as in array_lls.cpp, in 64-byte steps and with non-temporal stores, which go
// to memory without reading the line into the caches first.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "widest_register.h"

namespace Kestrel {
namespace {

constexpr std::uint32_t step = 64;

template <class Register>
std::uint64_t sweep(std::byte* begin, std::size_t quarter) {
    const std::size_t inSteps = quarter / step * step;
    std::byte *const second = begin + quarter, *const third = second + quarter;
    return timed([=] {
        if (inSteps != 0)
            Register::template streamAll<step / Register::bytes>(begin, second, third,
                                                                 begin + inSteps);
        if (quarter != inSteps)
            Xmm::streamAll<1>(begin + inSteps, second + inSteps, third + inSteps, begin + quarter);
        // A non-temporal store is done when it has left its buffer; that belongs to the span.
        asm volatile("sfence" ::: "memory");
    });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___array_fastmem(std::byte* begin, std::byte* end) {
    using namespace Kestrel;
    // A quarter of n whole steps is n * 16 bytes, whatever n is.
    const std::size_t quarter = static_cast<std::size_t>(end - begin) / step * (step / 4);
    // Wide non-temporal stores fault where they are not aligned. Arrays of whole pages never are.
    if ((reinterpret_cast<std::uintptr_t>(begin) + 2 * quarter) % step != 0)
        return sweep<Xmm>(begin, quarter);
    return withWidestRegister<step>(
        [=]<class Register>(Register) { return sweep<Register>(begin, quarter); });
}
