// Operations on one machine word that other workers may use, or its neighbours in a cache line, at
// the same time. Neither locked nor atomic: what is measured is what it costs to have the line.
#include "bracket.h"
#include "kestrel/kernels.h"

namespace Kestrel {
namespace {

/// Load, modify, store: adds one, from a register, which gives the instruction the width of the
/// machine word in both builds.
struct AddOne {
    template <std::uint32_t unroll>
    static void loop(std::byte* slot, std::uint32_t turns) {
        asm volatile("1: .rept %c[unroll]; add %[one], (%[slot]); .endr; dec %[turns]; jnz 1b"
                     : [turns] "+&r"(turns)
                     : [slot] "r"(slot), [one] "r"(std::uintptr_t{1}), [unroll] "i"(unroll)
                     : "cc", "memory");
    }
};

struct Load {
    template <std::uint32_t unroll>
    static void loop(const std::byte* slot, std::uint32_t turns) {
        std::uintptr_t value;
        asm volatile("1: .rept %c[unroll]; mov (%[slot]), %[value]; .endr; dec %[turns]; jnz 1b"
                     : [turns] "+&r"(turns), [value] "=&r"(value)
                     : [slot] "r"(slot), [unroll] "i"(unroll)
                     : "cc", "memory");
    }
};

template <class Operation>
std::uint64_t timedOften(std::byte* slot, std::uint32_t times) {
    // With so many operations a turn the loop's own instructions cost nothing.
    constexpr std::uint32_t unroll = 16;
    return timed([=] {
        if (times >= unroll)
            Operation::template loop<unroll>(slot, times / unroll);
        if (times % unroll != 0)
            Operation::template loop<1>(slot, times % unroll);
    });
}

}  // namespace
}  // namespace Kestrel

std::uint64_t kestrel___share_lms(std::byte* slot, std::uint32_t opsPerPass) {
    return Kestrel::timedOften<Kestrel::AddOne>(slot, opsPerPass);
}

std::uint64_t kestrel___share_lms_l(std::byte* slot, std::uint32_t opsPerPass) {
    return Kestrel::timedOften<Kestrel::Load>(slot, opsPerPass);
}
