/// Which instruction sets the kernels may use on this processor.
#pragma once

namespace Kestrel {

/// True only where both sides agree: the CPUID bit (leaf 1 ECX 12 and 28, leaf 7 EBX 16) and the
/// operating system, which says in XCR0 whether it saves the registers (bits 1 and 2 for YMM, 5 to
/// 7 for the 512-bit state). The compiler's own run-time support checks both.
struct InstructionSets {
    bool avx = false;
    bool fma = false;
    bool avx512f = false;
};

/// Looked up once, before main: never in a timed span.
inline const InstructionSets instructionSets = [] {
    __builtin_cpu_init();
    return InstructionSets{.avx = __builtin_cpu_supports("avx") != 0,
                           .fma = __builtin_cpu_supports("fma") != 0,
                           .avx512f = __builtin_cpu_supports("avx512f") != 0};
}();

}  // namespace Kestrel
