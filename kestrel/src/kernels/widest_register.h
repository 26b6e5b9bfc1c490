/// The choice of the registers that a word is moved through.
#pragma once

#include <cstdint>

#include "instruction_sets.h"
#include "registers.h"

namespace Kestrel {

/// Calls `kernel` for words of `size` bytes through the widest registers that the processor has,
/// up to the word; returns its ticks.
template <std::uint32_t size, class Kernel>
std::uint64_t withWidestRegister(Kernel kernel) {
    const auto through = [&]<class Register>(Register) {
        const std::uint64_t ticks = kernel(Word<Register, size>());
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
