/// The loops that move memory, `width` bytes (4 to 64) at a time through vector register 0.
///
/// A loop is assembly, whole: a compiler that ran out of registers would reload its pointers inside
/// it, and the loads of a kernel are counted. It names only vector registers that both widths of
/// program have, so one text serves both. Each width's instructions stand once, in the table; a
/// loop picks its line by the number: load_%c[width] is load_32 where `width` is 32.
#pragma once

#include <cstddef>
#include <cstdint>

#include "instruction_sets.h"

// The table. Unaligned forms throughout: words may lie anywhere, and on aligned addresses these
// cost the same. All loads go to register 0: a load that fills a register depends on nothing before
// it, and renaming keeps the loads apart. Two streams are combined with OR, which is never slow for
// some operands and keeps the array's ones (some processors drop a store of zeros over zeros).
asm(R"(
    .macro load_4    from:vararg;  movd     \from, %xmm0;                       .endm
    .macro load_8    from:vararg;  movq     \from, %xmm0;                       .endm
    .macro load_16   from:vararg;  movups   \from, %xmm0;                       .endm
    .macro load_32   from:vararg;  vmovups  \from, %ymm0;                       .endm
    .macro load_64   from:vararg;  vmovups  \from, %zmm0;                       .endm

    .macro or_4      from:vararg;  movd     \from, %xmm1;  por  %xmm1, %xmm0;   .endm
    .macro or_16     from:vararg;  movups   \from, %xmm1;  orps %xmm1, %xmm0;   .endm
    .macro or_32     from:vararg;  vorps    \from, %ymm0, %ymm0;                .endm
    .macro or_64     from:vararg;  vporq    \from, %zmm0, %zmm0;                .endm

    .macro store_4   to:vararg;    movd     %xmm0, \to;                         .endm
    .macro store_16  to:vararg;    movups   %xmm0, \to;                         .endm
    .macro store_32  to:vararg;    vmovups  %ymm0, \to;                         .endm
    .macro store_64  to:vararg;    vmovups  %zmm0, \to;                         .endm

    # Past the caches. Faults unless the place is a multiple of the width.
    .macro stream_16 to:vararg;    movntps  %xmm0, \to;                         .endm
    .macro stream_32 to:vararg;    vmovntps %ymm0, \to;                         .endm
    .macro stream_64 to:vararg;    vmovntps %zmm0, \to;                         .endm
)");

namespace Kestrel {

/// Loads [p, end), a multiple of `unroll` words and not empty.
///
/// An unrolled loop begins on a cache line: across two lines the decoders deliver less (a sixteenth
/// of a sweep by 32-byte loads on Golden Cove).
template <std::uint32_t width, std::uint32_t unroll>
[[gnu::always_inline]] inline void loadAll(const std::byte* p, const std::byte* end) {
    asm volatile(
        R"(
        .if %c[unroll] > 1
            .p2align 6
        .endif
     1: .set .Loffset, 0
        .rept %c[unroll]
            load_%c[width] .Loffset(%[p])
            .set .Loffset, .Loffset + %c[width]
        .endr
        add %[block], %[p]
        cmp %[end], %[p]
        jne 1b)"
        : [p] "+&r"(p)
        : [end] "r"(end), [width] "i"(width), [unroll] "i"(unroll), [block] "i"(width * unroll)
        : "xmm0", "cc", "memory");
}

/// Loads a word of `perWord` registers every `stride` bytes, `turns` of them (not 0). Returns the
/// next word's place.
template <std::uint32_t width, std::uint32_t perWord>
[[gnu::always_inline]] inline const std::byte* loadStrided(const std::byte* p, std::size_t stride,
                                                           std::size_t turns) {
    asm volatile(R"(
     1: .set .Loffset, 0
        .rept %c[perWord]
            load_%c[width] .Loffset(%[p])
            .set .Loffset, .Loffset + %c[width]
        .endr
        add %[stride], %[p]
        dec %[turns]
        jne 1b)"
                 : [p] "+&r"(p), [turns] "+&r"(turns)
                 : [stride] "r"(stride), [width] "i"(width), [perWord] "i"(perWord)
                 : "xmm0", "cc", "memory");
    return p;
}

/// The same, four words a turn.
template <std::uint32_t width, std::uint32_t perWord>
[[gnu::always_inline]] inline const std::byte* loadStridedByFour(const std::byte* p,
                                                                 std::size_t stride,
                                                                 std::size_t turns) {
    asm volatile(R"(
     1: .set .Loffset, 0
        .rept %c[perWord]
            load_%c[width] .Loffset(%[p])
            load_%c[width] .Loffset(%[p], %[stride])
            load_%c[width] .Loffset(%[p], %[stride], 2)
            load_%c[width] .Loffset(%[p], %[stride3])
            .set .Loffset, .Loffset + %c[width]
        .endr
        lea (%[p], %[stride], 4), %[p]
        dec %[turns]
        jne 1b)"
                 : [p] "+&r"(p), [turns] "+&r"(turns)
                 : [stride] "r"(stride), [stride3] "r"(3 * stride), [width] "i"(width),
                   [perWord] "i"(perWord)
                 : "xmm0", "cc", "memory");
    return p;
}

/// Loads from `a` and `b` and stores their OR to `c`, past the caches where `streaming`, until `a`
/// is at its end; [a, end) is a multiple of `unroll` words and not empty.
template <std::uint32_t width, std::uint32_t unroll, bool streaming = false>
[[gnu::always_inline]] inline void combineAll(const std::byte* a, const std::byte* b, std::byte* c,
                                              const std::byte* end) {
    asm volatile(R"(
        .if %c[unroll] > 1
            .p2align 6
        .endif
     1: .set .Loffset, 0
        .rept %c[unroll]
            load_%c[width] .Loffset(%[a])
            or_%c[width]   .Loffset(%[b])
            .if %c[streaming]
                stream_%c[width] .Loffset(%[c])
            .else
                store_%c[width]  .Loffset(%[c])
            .endif
            .set .Loffset, .Loffset + %c[width]
        .endr
        add %[block], %[a]
        add %[block], %[b]
        add %[block], %[c]
        cmp %[end], %[a]
        jne 1b)"
                 : [a] "+&r"(a), [b] "+&r"(b), [c] "+&r"(c)
                 : [end] "r"(end), [width] "i"(width), [unroll] "i"(unroll),
                   [block] "i"(width * unroll), [streaming] "i"(streaming)
                 : "xmm0", "xmm1", "cc", "memory");
}

/// Calls `kernel` with the width of the widest register that the processor has, 16 to 64 bytes and
/// up to `word`; a wider word takes several. Returns the kernel's ticks.
template <std::uint32_t word, class Kernel>
std::uint64_t withWidestRegister(Kernel kernel) {
    // Left dirty, the upper halves of the registers slow the SSE code that follows.
    const auto cleared = [](std::uint64_t ticks) {
        asm volatile("vzeroupper" : : : "xmm0", "xmm1");
        return ticks;
    };
    if constexpr (word >= 64)
        if (instructionSets.avx512f)
            return cleared(kernel.template operator()<64>());
    if constexpr (word >= 32)
        if (instructionSets.avx)
            return cleared(kernel.template operator()<32>());
    return kernel.template operator()<16>();
}

}  // namespace Kestrel
