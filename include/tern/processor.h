/// The processor's own instructions about itself, and what they tell of its abilities. They tell of
/// the CPU that executes them: where CPUs differ, call them on a pinned thread.
/// Bits are those of Intel's Software Developer's Manual, volume 2, CPUID, and volume 1, chapter 13
/// (XCR0). Except in the raw instructions, a leaf beyond the processor's highest one counts as all
/// zeros, where Intel's processors would answer with the highest one instead.
/// All but the raw instructions return 1 for yes and 0 for no unless stated. No state is kept; any
/// thread may call any of these.
#pragma once

#include <cstdint>

extern "C" {

/// The four registers that CPUID takes and gives.
struct tern_cpuid_block {
    std::uint32_t eax, ebx, ecx, edx;
};

/// Executes CPUID with the four registers of `in` and stores those it leaves in `out`, which may be
/// the same block. Raw: no check of the highest leaf.
void tern_cpuid(const tern_cpuid_block* in, tern_cpuid_block* out);

/// Stores XCR0 (XGETBV with ECX 0, EDX the high half). Raw: an illegal instruction where the
/// operating system has not set OSXSAVE (CPUID leaf 1, ECX bit 27).
void tern_xgetbv(std::uint64_t* xcr0);

/// Returns the initial APIC id: CPUID leaf 1, EBX bits 31..24. Only 8 bits wide, so CPUs of a large
/// machine can share one, and a hypervisor may report one for all.
std::uint32_t tern_get_apic_id();

/// Stores the 48 bytes of brand text (CPUID leaves 0x80000002 to 0x80000004: EAX, EBX, ECX, EDX of
/// each) and returns 1; 0, with `buffer` untouched, where the processor has none. The text is
/// zero-terminated only if it is shorter than 48 bytes.
int tern_cpuid_brand_string(char* buffer);

/// XCR0 bits 1 and 2: the operating system saves SSE and AVX registers.
int tern_os_saves_avx_state();
/// Leaf 1 ECX bits 27 and 28, and tern_os_saves_avx_state.
int tern_cpu_has_avx();
/// tern_cpu_has_avx, and leaf 7 EBX bit 5.
int tern_cpu_has_avx2();
/// Leaf 1 ECX bits 12, 27 and 28, and tern_os_saves_avx_state.
int tern_cpu_has_fma();
/// Leaf 7 EBX bit 16, leaf 1 ECX bit 27, and XCR0 bits 1, 2, 5, 6 and 7.
int tern_cpu_has_avx512f();

/// Returns EAX of leaf 0x0A, architectural performance monitoring: version in bits 7..0, 0 where
/// there is none.
std::uint32_t tern_get_perfmon_info();

/// The three cache queries read CPUID leaf 4, which AMD's processors leave empty: 0 then means
/// "not told". Sizes are in bytes.
///
/// Stores level and size of the highest-level cache in the list (of several of that level the last,
/// instruction caches included); 0 and 0 for an empty list.
void tern_get_llc_info(std::uint8_t* level, std::uint64_t* size);
/// Stores the size of the first data or unified cache of `level`, 0 if there is none.
void tern_get_cache_size(std::uint8_t level, std::uint64_t* size);
/// Stores the associativity of that cache, 0 if there is none.
void tern_get_cache_ways(std::uint8_t level, std::uint16_t* ways);

}  // extern "C"
