/// The choice of the registers that a word is moved through.
#pragma once

#include <cstdint>

#include "instruction_sets.h"
#include "registers.h"

namespace Kestrel {

/// Calls `kernel` with the widest register that the processor has, up to words of `size` bytes
/// (16 to 64); a wider word takes several. Returns the kernel's ticks.
template <std::uint32_t size, class Kernel>
std::uint64_t withWidestRegister(Kernel kernel) {
    const auto through = [&]<class Register>(Register reg) {
        const std::uint64_t ticks = kernel(reg);
        Register::leave();
        return ticks;
    };
    if constexpr (size >= Zmm::bytes)
        if (instructionSets.avx512f)
            return through(Zmm());
    if constexpr (size >= Ymm::bytes)
        if (instructionSets.avx)
            return through(Ymm());
    return through(Xmm());
}

}  // namespace Kestrel
