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
// and these stay where they are, however long they run. No value ever becomes infinite, not a
// number, or denormal (slow on many processors):
//   add  x + x      from 0; every other start doubles until it is infinite
//   mul  x * x      from 1
//   fma  x * x + x  from 0, where clearing begins
#include <array>
#include <type_traits>

#include "bracket.h"
#include "instruction_sets.h"
#include "kestrel/kernels.h"

// The table: the instruction of each operation and set, on register r; e is s or d, the precision.
asm(R"(
    .macro add_scalar e, r;  adds\e        %xmm\r, %xmm\r;           .endm
    .macro add_sse    e, r;  addp\e        %xmm\r, %xmm\r;           .endm
    .macro add_avx    e, r;  vaddp\e       %ymm\r, %ymm\r, %ymm\r;   .endm
    .macro add_avx512 e, r;  vaddp\e       %zmm\r, %zmm\r, %zmm\r;   .endm

    .macro mul_scalar e, r;  muls\e        %xmm\r, %xmm\r;           .endm
    .macro mul_sse    e, r;  mulp\e        %xmm\r, %xmm\r;           .endm
    .macro mul_avx    e, r;  vmulp\e       %ymm\r, %ymm\r, %ymm\r;   .endm
    .macro mul_avx512 e, r;  vmulp\e       %zmm\r, %zmm\r, %zmm\r;   .endm

    .macro fma_scalar e, r;  vfmadd213s\e  %xmm\r, %xmm\r, %xmm\r;   .endm
    .macro fma_sse    e, r;  vfmadd213p\e  %xmm\r, %xmm\r, %xmm\r;   .endm
    .macro fma_avx    e, r;  vfmadd213p\e  %ymm\r, %ymm\r, %ymm\r;   .endm
    .macro fma_avx512 e, r;  vfmadd213p\e  %zmm\r, %zmm\r, %zmm\r;   .endm
)");

// One loop for all of them. It begins on a cache line of its own, or the decoders would see it
// differently in each build.
asm(R"(
    .macro start_scalar r, from:vararg;  movups  \from, %xmm\r;  .endm
    .macro start_sse    r, from:vararg;  movups  \from, %xmm\r;  .endm
    .macro start_avx    r, from:vararg;  vmovups \from, %ymm\r;  .endm
    .macro start_avx512 r, from:vararg;  vmovups \from, %zmm\r;  .endm

    # Left dirty, the upper halves of the registers slow the SSE code that follows.
    .macro leave_scalar;  .endm
    .macro leave_sse;     .endm
    .macro leave_avx;     vzeroupper;  .endm
    .macro leave_avx512;  vzeroupper;  .endm

    # Two instructions for each register.
    .macro sixteen operation, set, e
        .irp r, 0, 1, 2, 3, 4, 5, 6, 7
            .ifc \operation, fma
                vxorps %xmm\r, %xmm\r, %xmm\r   # clears all 64 bytes
            .endif
            \operation\()_\set \e, \r
        .endr
        .irp r, 0, 1, 2, 3, 4, 5, 6, 7
            \operation\()_\set \e, \r
        .endr
    .endm
    .macro sixteen_single operation, set;  sixteen \operation, \set, s;  .endm
    .macro sixteen_double operation, set;  sixteen \operation, \set, d;  .endm

    .macro flop_loop operation, set, precision, instructions, loops, start:vararg
        .irp r, 0, 1, 2, 3, 4, 5, 6, 7
            start_\set \r, \start
        .endr
        .p2align 6
     1: .rept \instructions / 16
            sixteen_\precision \operation, \set
        .endr
        dec \loops
        jnz 1b
        leave_\set
    .endm
)");

namespace Kestrel {
namespace {

/// A register full of a number that the operation leaves as it is; the widest kernels read all 64
/// bytes.
template <FlopOperation operation, FlopPrecision precision>
alignas(64) constexpr auto start = [] {
    using Number = std::conditional_t<precision == fp_single, float, double>;
    std::array<Number, 64 / sizeof(Number)> numbers;
    numbers.fill(operation == fo_add ? 0 : 1);
    return numbers;
}();

bool available(FlopOperation operation, FlopSet set) {
    if (set == fs_avx512)
        return instructionSets.avx512f;
    return (operation != fo_fma || instructionSets.fma) && (set != fs_avx || instructionSets.avx);
}

}  // namespace
}  // namespace Kestrel

// The registers live only within one statement, so that sets them, too.
#define FLOP_KERNEL(operation, set, precision, lanes, instructions)                               \
    std::uint64_t kestrel___##operation##_##set##_##precision(std::uint32_t loopCount) {          \
        using namespace Kestrel;                                                                  \
        if (!available(fo_##operation, fs_##set))                                                 \
            return 0;                                                                             \
        return timed([=]() mutable {                                                              \
            asm volatile("flop_loop " #operation ", " #set ", " #precision ", " #instructions     \
                         ", %[loops], %[start]"                                                   \
                         : [loops] "+r"(loopCount)                                                \
                         : [start] "m"(start<fo_##operation, fp_##precision>)                     \
                         : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7"); \
        });                                                                                       \
    }
#include "kestrel/kernels.def"
