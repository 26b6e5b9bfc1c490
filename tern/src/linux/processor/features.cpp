#include "tern/src/linux/processor/features.h"

namespace tern {

namespace {

constexpr std::uint32_t fma = 1u << 12, osxsave = 1u << 27, avx = 1u << 28;   // leaf 1, ECX
constexpr std::uint32_t avx2 = 1u << 5, avx512f = 1u << 16;                   // leaf 7, EBX
constexpr std::uint64_t avx_state = 0b0000'0110, avx512_state = 0b1110'0000;  // XCR0

constexpr bool all(std::uint64_t bits, std::uint64_t wanted) {
    return (bits & wanted) == wanted;
}

feature_registers read_features() {
    feature_registers r{.leaf1_ecx = read_leaf(tern_cpuid, 1).ecx,
                        .leaf7_ebx = read_leaf(tern_cpuid, 7).ebx,
                        .xcr0 = 0};
    if (all(r.leaf1_ecx, osxsave))  // XGETBV is illegal otherwise
        tern_xgetbv(&r.xcr0);
    return r;
}

}  // namespace

bool saves_avx_state(const feature_registers& r) {
    return all(r.xcr0, avx_state);
}

bool has_avx(const feature_registers& r) {
    return all(r.leaf1_ecx, osxsave | avx) && saves_avx_state(r);
}

bool has_avx2(const feature_registers& r) {
    return has_avx(r) && all(r.leaf7_ebx, avx2);
}

bool has_fma(const feature_registers& r) {
    return has_avx(r) && all(r.leaf1_ecx, fma);
}

bool has_avx512f(const feature_registers& r) {
    return all(r.leaf7_ebx, avx512f) && all(r.leaf1_ecx, osxsave) &&
           all(r.xcr0, avx_state | avx512_state);
}

}  // namespace tern

int tern_os_saves_avx_state() {
    return tern::saves_avx_state(tern::read_features());
}

int tern_cpu_has_avx() {
    return tern::has_avx(tern::read_features());
}

int tern_cpu_has_avx2() {
    return tern::has_avx2(tern::read_features());
}

int tern_cpu_has_fma() {
    return tern::has_fma(tern::read_features());
}

int tern_cpu_has_avx512f() {
    return tern::has_avx512f(tern::read_features());
}

std::uint32_t tern_get_perfmon_info() {
    return tern::read_leaf(tern_cpuid, 0x0A).eax;
}
