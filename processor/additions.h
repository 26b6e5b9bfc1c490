/// The two loops of additions that tell a core's clock and whether it is shared.
#pragma once

#include <cstdint>

#include "kernels/bracket.h"

namespace processor {

/// Additions in one turn of either loop: so many that a run has few turns and its end is predicted.
inline constexpr std::uint32_t additionsPerTurn = 200;

/// Chains of the independent additions: as many as a 32-bit program has registers for. Each gets
/// one addition done a cycle at most.
inline constexpr std::uint32_t independentChains = 5;

/// Ticks of `turns` turns of additions each of which needs the one before: one core cycle each on
/// every x86 core since the Pentium Pro. Registers only: some processors add a small constant for
/// free while they rename registers.
inline std::uint64_t dependentAdditions(std::uint32_t turns) {
    return Kestrel::timed([turns] {
        std::uintptr_t sum = 1;
        for (std::uint32_t i = turns; i != 0; --i)
            asm volatile(".rept 200; add %0, %0; .endr" : "+r"(sum));
    });
}

/// Ticks of as many additions spread over the independent chains.
inline std::uint64_t independentAdditions(std::uint32_t turns) {
    return Kestrel::timed([turns] {
        std::uintptr_t a = 1, b = 1, c = 1, d = 1, e = 1;
        for (std::uint32_t i = turns; i != 0; --i)
            asm volatile(
                ".rept 40; add %0, %0; add %1, %1; add %2, %2; add %3, %3; add %4, %4; .endr"
                : "+r"(a), "+r"(b), "+r"(c), "+r"(d), "+r"(e));
    });
}

}  // namespace processor
