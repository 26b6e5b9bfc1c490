// Operations on one machine word that other workers may use, or its neighbours in a cache line, at
// the same time. Neither locked nor atomic: what the line's travels cost is what is measured.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "registers.h"

namespace Kestrel {
namespace {

using MachineWord = std::uintptr_t;

/// Calls `operation` that often.
template <class Operation>
[[gnu::always_inline]] inline std::uint64_t timedOften(std::uint32_t times, Operation operation) {
    // So many operations a turn that the loop's own instructions hide behind them.
    constexpr std::uint32_t unroll = 16;
    return timed([=] {
        for (std::uint32_t i = times / unroll; i != 0; --i)
            unrolled<unroll, 1>([=](std::uint32_t) { operation(); });
        for (std::uint32_t i = times % unroll; i != 0; --i)
            operation();
    });
}

}  // namespace
}  // namespace Kestrel

/// Load, modify, store: adds one.
std::uint64_t kestrel___share_lms(std::byte* slot, std::uint32_t opsPerPass) {
    using namespace Kestrel;
    auto& word = target<sizeof(MachineWord)>(slot);
    // The register operand gives the instruction the width of the machine word in both builds.
    return timedOften(opsPerPass, [&word, one = MachineWord{1}] {
        asm volatile("add %1, %0" : "+m"(word) : "r"(one) : "cc");
    });
}

/// Load only.
std::uint64_t kestrel___share_lms_l(std::byte* slot, std::uint32_t opsPerPass) {
    using namespace Kestrel;
    const auto& word = source<sizeof(MachineWord)>(slot);
    return timedOften(opsPerPass, [&word] {
        MachineWord value;
        asm volatile("mov %1, %0" : "=r"(value) : "m"(word));
    });
}
