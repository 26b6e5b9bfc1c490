// Floating-point arithmetic on registers alone, one kernel for each row of the list.
//
// Eight chains of dependent instructions, one in each of the registers 0 to 7, fill two arithmetic
// units of four cycles' latency; these eight are all that a 32-bit program has. A loop is those
// instructions and one decrement-and-branch, which takes no arithmetic unit.
//
// Fused multiply-add needs more than eight chains: some processors take five cycles, and some that
// take four lose a fifteenth when every addend comes fresh from the unit (Zen 5: 1.87 instead of
// 2.00 a cycle). So its chains begin anew every second instruction, with a register cleared by an
// exclusive OR with itself, which register renaming does alone: it takes no unit either, and the
// processor overlaps as many of the short chains as it can.
//
// Every instruction has its own register for all its operands, so each chain computes one sequence,
// and these do not move, however long they run. Nothing gets infinite, not a number or denormal
// (slow on many processors):
//   add  x + x      from 0; every other start doubles until it is infinite
//   mul  x * x      from 1
//   fma  x * x + x  from 0, where clearing begins
#include <type_traits>

#include "bracket.h"
#include "instruction_sets.h"
#include "kestrel/kernels.h"

namespace Kestrel {
namespace {

/// A register full of the operation's start value; the widest kernel reads all 64 bytes.
template <FlopOperation operation, FlopPrecision precision>
struct alignas(64) Start {
    using Number = std::conditional_t<precision == fp_single, float, double>;
    Number lanes[64 / sizeof(Number)];

    constexpr Start() : lanes() {
        for (Number& lane : lanes)
            lane = operation == fo_mul ? 1 : 0;
    }
};

template <FlopOperation operation, FlopPrecision precision>
constexpr Start<operation, precision> start;

bool available(FlopOperation operation, FlopSet set) {
    if (set == fs_avx512)
        return instructionSets.avx512f;
    return (operation != fo_fma || instructionSets.fma) && (set != fs_avx || instructionSets.avx);
}

// An instruction's text is made of its parts: "v" "add" "p" "d", then register r two or three
// times. Fused multiply-add has the three-operand form even where it works on one number.
#define FORM_scalar ""
#define FORM_sse ""
#define FORM_avx "v"
#define FORM_avx512 "v"
#define SHAPE_scalar "s"
#define SHAPE_sse "p"
#define SHAPE_avx "p"
#define SHAPE_avx512 "p"
#define ELEMENT_single "s"
#define ELEMENT_double "d"
#define REGISTER_scalar "%%xmm\\r"
#define REGISTER_sse "%%xmm\\r"
#define REGISTER_avx "%%ymm\\r"
#define REGISTER_avx512 "%%zmm\\r"
#define TWICE(set) REGISTER_##set ", " REGISTER_##set
#define THRICE(set) TWICE(set) ", " REGISTER_##set
#define OPERANDS_scalar TWICE(scalar)
#define OPERANDS_sse TWICE(sse)
#define OPERANDS_avx THRICE(avx)
#define OPERANDS_avx512 THRICE(avx512)
#define TEXT_add(set, element) FORM_##set "add" SHAPE_##set element " " OPERANDS_##set
#define TEXT_mul(set, element) FORM_##set "mul" SHAPE_##set element " " OPERANDS_##set
#define TEXT_fma(set, element) "vfmadd213" SHAPE_##set element " " THRICE(set)

/// Clears the upper halves of the registers: left dirty, they slow the SSE code that follows.
#define LEAVE_scalar ""
#define LEAVE_sse ""
#define LEAVE_avx "vzeroupper"
#define LEAVE_avx512 "vzeroupper"

// The assembler's own loop writes the text down for each register r.
#define EACH_REGISTER(text) ".irp r, 0, 1, 2, 3, 4, 5, 6, 7\n" text "\n.endr\n"

// Sixteen instructions, two for each register. Clearing 16 bytes the AVX way clears all 64.
#define CLEAR_add
#define CLEAR_mul
#define CLEAR_fma "vxorps %%xmm\\r, %%xmm\\r, %%xmm\\r\n"
#define SIXTEEN(operation, set, element)                            \
    EACH_REGISTER(CLEAR_##operation TEXT_##operation(set, element)) \
    EACH_REGISTER(TEXT_##operation(set, element))

}  // namespace
}  // namespace Kestrel

// The registers live only within one statement, so that sets them, too. The loop starts on a cache
// line of its own, or the decoders would see it differently in each build.
#define FLOP_KERNEL(operation, set, precision, lanes, instructions)                                \
    std::uint64_t kestrel___##operation##_##set##_##precision(std::uint32_t loopCount) {           \
        using namespace Kestrel;                                                                   \
        if (!available(fo_##operation, fs_##set))                                                  \
            return 0;                                                                              \
        return timed([=]() mutable {                                                               \
            asm volatile(EACH_REGISTER(FORM_##set "movups %[start], " REGISTER_##set)            \
                         ".p2align 6\n"                                                          \
                         "1:\n"                                                                  \
                         ".rept " #instructions " / 16\n"                                        \
                         SIXTEEN(operation, set, ELEMENT_##precision)                            \
                         ".endr\n"                                                               \
                         "dec %[loops]\n"                                                        \
                         "jnz 1b\n" LEAVE_##set                                                  \
                         : [loops] "+r"(loopCount)                                               \
                         : [start] "m"(start<fo_##operation, fp_##precision>)                    \
                         : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7"); \
        });                                                                                        \
    }
#include "kestrel/kernels.def"
