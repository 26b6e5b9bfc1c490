/// Instruction-set extensions, decoded from the registers that tell of them. An extension counts
/// only where the operating system saves its registers too.
#pragma once

#include "tern/src/linux/processor/cpuid_leaf.h"

namespace tern {

/// The registers, or a recording of them.
struct feature_registers {
    std::uint32_t leaf1_ecx;  ///< bit 12 FMA, 27 OSXSAVE, 28 AVX
    std::uint32_t leaf7_ebx;  ///< bit 5 AVX2, 16 AVX512F
    std::uint64_t xcr0;       ///< bit 1 SSE, 2 AVX, 5 to 7 AVX-512 state; 0 without OSXSAVE
};

bool saves_avx_state(const feature_registers& r);
bool has_avx(const feature_registers& r);
bool has_avx2(const feature_registers& r);
bool has_fma(const feature_registers& r);
bool has_avx512f(const feature_registers& r);

}  // namespace tern
