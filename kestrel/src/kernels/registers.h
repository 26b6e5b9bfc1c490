/// The registers through which the array kernels move memory, and words made of them.
///
/// Every access is one assembly statement, so that no compiler merges, drops or reorders it, and
/// names no register beyond number 1, so that the same text serves both widths. All loads go to
/// one register: a full-width load depends on nothing, and renaming keeps them apart. Unaligned
/// forms throughout; on aligned addresses they cost the same.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace Kestrel {

/// A memory operand of exactly that many bytes.
template <std::size_t size>
struct Operand {
    std::byte bytes[size];
};

template <std::size_t size>
const Operand<size>& source(const std::byte* p) {
    return *reinterpret_cast<const Operand<size>*>(p);
}

template <std::size_t size>
Operand<size>& target(std::byte* p) {
    return *reinterpret_cast<Operand<size>*>(p);
}

// `loadOr` loads from a and b, combines the two with a bitwise OR and stores the result to c.
// OR, since it needs no arithmetic unit that could be busy or slow for some operands, and keeps
// the ones of the array's content: some processors drop a store of zeros over zeros.

/// 4 bytes; only for the last bytes of a quarter that whole words do not fill.
struct Dword {
    static constexpr std::uint32_t bytes = 4;
    static void loadOr(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("movd %1, %%xmm0; movd %2, %%xmm1; por %%xmm1, %%xmm0; movd %%xmm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0", "xmm1");
    }
};

/// 8 bytes: the low half of an XMM register in both widths, since a 32-bit program has no general
/// register of that size.
struct Qword {
    static constexpr std::uint32_t bytes = 8;
    static void load(const std::byte* p) {
        asm volatile("movq %0, %%xmm0" : : "m"(source<bytes>(p)) : "xmm0");
    }
};

struct Xmm {
    static constexpr std::uint32_t bytes = 16;
    static void load(const std::byte* p) {
        asm volatile("movups %0, %%xmm0" : : "m"(source<bytes>(p)) : "xmm0");
    }
    static void loadOr(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("movups %1, %%xmm0; movups %2, %%xmm1; orps %%xmm1, %%xmm0; movups %%xmm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0", "xmm1");
    }
    /// `c` lies on a multiple of `bytes`, as for every `loadOrStream`.
    static void loadOrStream(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("movups %1, %%xmm0; movups %2, %%xmm1; orps %%xmm1, %%xmm0; movntps %%xmm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0", "xmm1");
    }
    static void leave() {}
};

/// Needs AVX.
struct Ymm {
    static constexpr std::uint32_t bytes = 32;
    static void load(const std::byte* p) {
        asm volatile("vmovups %0, %%ymm0" : : "m"(source<bytes>(p)) : "xmm0");
    }
    static void loadOr(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("vmovups %1, %%ymm0; vorps %2, %%ymm0, %%ymm0; vmovups %%ymm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0");
    }
    static void loadOrStream(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("vmovups %1, %%ymm0; vorps %2, %%ymm0, %%ymm0; vmovntps %%ymm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0");
    }
    /// Clears the upper halves: left dirty, they slow the SSE code that follows.
    static void leave() { asm volatile("vzeroupper" : : : "xmm0", "xmm1"); }
};

/// Needs AVX-512F.
struct Zmm {
    static constexpr std::uint32_t bytes = 64;
    static void load(const std::byte* p) {
        asm volatile("vmovups %0, %%zmm0" : : "m"(source<bytes>(p)) : "xmm0");
    }
    static void loadOr(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("vmovups %1, %%zmm0; vporq %2, %%zmm0, %%zmm0; vmovups %%zmm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0");
    }
    static void loadOrStream(const std::byte* a, const std::byte* b, std::byte* c) {
        asm volatile("vmovups %1, %%zmm0; vporq %2, %%zmm0, %%zmm0; vmovntps %%zmm0, %0"
                     : "=m"(target<bytes>(c))
                     : "m"(source<bytes>(a)), "m"(source<bytes>(b))
                     : "xmm0");
    }
    static void leave() { Ymm::leave(); }
};

/// Calls `step(offset)` for the offsets 0, size, 2 size, ... of `times` neighbours.
template <std::uint32_t times, std::uint32_t size, class Step>
[[gnu::always_inline]] inline void unrolled(Step step) {
    [&]<std::uint32_t... i>(std::integer_sequence<std::uint32_t, i...>) {
        (step(i * size), ...);
    }
    (std::make_integer_sequence<std::uint32_t, times>());
}

/// A word of `size` bytes, moved through registers of one kind: one of its own size, or as many as
/// it takes.
template <class Register, std::uint32_t size>
struct Word {
    static constexpr std::uint32_t bytes = size;
    static void load(const std::byte* p) {
        unrolled<size / Register::bytes, Register::bytes>(
            [=](std::uint32_t i) { Register::load(p + i); });
    }
    static void loadOr(const std::byte* a, const std::byte* b, std::byte* c) {
        unrolled<size / Register::bytes, Register::bytes>(
            [=](std::uint32_t i) { Register::loadOr(a + i, b + i, c + i); });
    }
    static void loadOrStream(const std::byte* a, const std::byte* b, std::byte* c) {
        unrolled<size / Register::bytes, Register::bytes>(
            [=](std::uint32_t i) { Register::loadOrStream(a + i, b + i, c + i); });
    }
};

}  // namespace Kestrel
