/// The registers through which the array kernels move memory, and the loops over them.
///
/// The loops are assembly, whole: a compiler that ran out of registers would reload its pointers
/// inside them, and the loads of a kernel are counted. They name only vector registers that both
/// widths have, so that one text serves both. All loads go to register 0: a full load depends on
/// nothing before it, and renaming keeps them apart. Unaligned forms throughout, as words may lie
/// anywhere; on aligned addresses they cost the same.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kestrel {

// Each macro makes an operation of the registers' structs below from the text of its instructions,
// which take a memory operand. `.Loffset` counts up inside the unrolled loops.

/// loadAll<unroll>(p, end): loads [p, end), which is a multiple of unroll registers and not empty.
///
/// loadStrided<perWord>(p, stride, turns): loads a word of perWord registers every `stride` bytes,
/// one a turn; loadStridedByFour: four a turn. turns is not 0. Both return the next word's place.
#define KESTREL_LOADS(LOAD)                                                                         \
    template <std::uint32_t unroll>                                                                 \
    [[gnu::always_inline]] static void loadAll(const std::byte* p, const std::byte* end) {          \
        asm volatile(                                                                             \
            "1: .set .Loffset, 0; .rept %c[unroll];" LOAD(".Loffset(%[p])")                       \
            ".set .Loffset, .Loffset + %c[size]; .endr;"                                          \
            "add %[block], %[p]; cmp %[end], %[p]; jne 1b"                                        \
            : [p] "+&r"(p)                                                                        \
            : [end] "r"(end), [unroll] "i"(unroll), [size] "i"(bytes),                            \
              [block] "i"(unroll * bytes)                                                         \
            : "xmm0", "cc", "memory"); \
    }                                                                                               \
    template <std::uint32_t perWord>                                                                \
    [[gnu::always_inline]] static const std::byte* loadStrided(                                     \
        const std::byte* p, std::size_t stride, std::size_t turns) {                                \
        asm volatile(                                                                             \
            "1: .set .Loffset, 0; .rept %c[perWord];" LOAD(".Loffset(%[p])")                      \
            ".set .Loffset, .Loffset + %c[size]; .endr;"                                          \
            "add %[stride], %[p]; dec %[turns]; jne 1b"                                           \
            : [p] "+&r"(p), [turns] "+&r"(turns)                                                  \
            : [stride] "r"(stride), [perWord] "i"(perWord), [size] "i"(bytes)                     \
            : "xmm0", "cc", "memory"); \
        return p;                                                                                   \
    }                                                                                               \
    template <std::uint32_t perWord>                                                                \
    [[gnu::always_inline]] static const std::byte* loadStridedByFour(                               \
        const std::byte* p, std::size_t stride, std::size_t turns) {                                \
        asm volatile(                                                                             \
            "1: .set .Loffset, 0; .rept %c[perWord];"                                             \
            LOAD(".Loffset(%[p])") LOAD(".Loffset(%[p], %[stride])")                              \
            LOAD(".Loffset(%[p], %[stride], 2)") LOAD(".Loffset(%[p], %[stride3])")               \
            ".set .Loffset, .Loffset + %c[size]; .endr;"                                          \
            "lea (%[p], %[stride], 4), %[p]; dec %[turns]; jne 1b"                                \
            : [p] "+&r"(p), [turns] "+&r"(turns)                                                  \
            : [stride] "r"(stride), [stride3] "r"(3 * stride), [perWord] "i"(perWord),            \
              [size] "i"(bytes)                                                                   \
            : "xmm0", "cc", "memory"); \
        return p;                                                                                   \
    }

/// combineAll<unroll>(a, b, c, end): loads from a and b, combines the two with a bitwise OR and
/// stores the result to c, until a is at its end; [a, end) is a multiple of unroll registers and
/// not empty. OR, since it needs no arithmetic unit that could be busy or slow for some operands,
/// and keeps the ones of the array's content: some processors drop a store of zeros over zeros.
///
/// streamAll: the same with non-temporal stores; c lies on a multiple of the register's size.
#define KESTREL_COMBINES(FUNCTION, LOAD, OR, STORE)                                                 \
    template <std::uint32_t unroll>                                                                 \
    [[gnu::always_inline]] static void FUNCTION(const std::byte* a, const std::byte* b,             \
                                                std::byte* c, const std::byte* end) {               \
        asm volatile(                                                                             \
            "1: .set .Loffset, 0; .rept %c[unroll];"                                              \
            LOAD(".Loffset(%[a])") OR(".Loffset(%[b])") STORE(".Loffset(%[c])")                   \
            ".set .Loffset, .Loffset + %c[size]; .endr;"                                          \
            "add %[block], %[a]; add %[block], %[b]; add %[block], %[c]; cmp %[end], %[a]; jne 1b"\
            : [a] "+&r"(a), [b] "+&r"(b), [c] "+&r"(c)                                            \
            : [end] "r"(end), [unroll] "i"(unroll), [size] "i"(bytes),                            \
              [block] "i"(unroll * bytes)                                                         \
            : "xmm0", "xmm1", "cc", "memory"); \
    }

/// 4 bytes; only for the last bytes of a quarter that whole words do not fill.
struct Dword {
    static constexpr std::uint32_t bytes = 4;
#define LOAD(memory) "movd " memory ", %%xmm0;"
#define OR(memory) "movd " memory ", %%xmm1; por %%xmm1, %%xmm0;"
#define STORE(memory) "movd %%xmm0, " memory ";"
    KESTREL_COMBINES(combineAll, LOAD, OR, STORE)
#undef LOAD
#undef OR
#undef STORE
};

/// 8 bytes: the low half of an XMM register in both widths, since a 32-bit program has no general
/// register of that size.
struct Qword {
    static constexpr std::uint32_t bytes = 8;
#define LOAD(memory) "movq " memory ", %%xmm0;"
    KESTREL_LOADS(LOAD)
#undef LOAD
};

struct Xmm {
    static constexpr std::uint32_t bytes = 16;
#define LOAD(memory) "movups " memory ", %%xmm0;"
#define OR(memory) "movups " memory ", %%xmm1; orps %%xmm1, %%xmm0;"
#define STORE(memory) "movups %%xmm0, " memory ";"
#define STREAM(memory) "movntps %%xmm0, " memory ";"
    KESTREL_LOADS(LOAD)
    KESTREL_COMBINES(combineAll, LOAD, OR, STORE)
    KESTREL_COMBINES(streamAll, LOAD, OR, STREAM)
#undef LOAD
#undef OR
#undef STORE
#undef STREAM
    static void leave() {}
};

/// Needs AVX.
struct Ymm {
    static constexpr std::uint32_t bytes = 32;
#define LOAD(memory) "vmovups " memory ", %%ymm0;"
#define OR(memory) "vorps " memory ", %%ymm0, %%ymm0;"
#define STORE(memory) "vmovups %%ymm0, " memory ";"
#define STREAM(memory) "vmovntps %%ymm0, " memory ";"
    KESTREL_LOADS(LOAD)
    KESTREL_COMBINES(combineAll, LOAD, OR, STORE)
    KESTREL_COMBINES(streamAll, LOAD, OR, STREAM)
#undef LOAD
#undef OR
#undef STORE
#undef STREAM
    /// Clears the upper halves: left dirty, they slow the SSE code that follows.
    static void leave() {
        asm volatile("vzeroupper" : : : "xmm0", "xmm1");
    }
};

/// Needs AVX-512F.
struct Zmm {
    static constexpr std::uint32_t bytes = 64;
#define LOAD(memory) "vmovups " memory ", %%zmm0;"
#define OR(memory) "vporq " memory ", %%zmm0, %%zmm0;"
#define STORE(memory) "vmovups %%zmm0, " memory ";"
#define STREAM(memory) "vmovntps %%zmm0, " memory ";"
    KESTREL_LOADS(LOAD)
    KESTREL_COMBINES(combineAll, LOAD, OR, STORE)
    KESTREL_COMBINES(streamAll, LOAD, OR, STREAM)
#undef LOAD
#undef OR
#undef STORE
#undef STREAM
    static void leave() {
        Ymm::leave();
    }
};

#undef KESTREL_LOADS
#undef KESTREL_COMBINES

}  // namespace Kestrel
