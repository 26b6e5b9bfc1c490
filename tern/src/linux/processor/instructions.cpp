#include "tern/processor.h"

void tern_cpuid(const tern_cpuid_block* in, tern_cpuid_block* out) {
    tern_cpuid_block r = *in;
    asm volatile("cpuid" : "+a"(r.eax), "+b"(r.ebx), "+c"(r.ecx), "+d"(r.edx));
    *out = r;
}

void tern_xgetbv(std::uint64_t* xcr0) {
    std::uint32_t low, high;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    *xcr0 = (std::uint64_t{high} << 32) | low;
}

std::uint32_t tern_get_apic_id() {
    tern_cpuid_block r{.eax = 1, .ebx = 0, .ecx = 0, .edx = 0};
    tern_cpuid(&r, &r);
    return r.ebx >> 24;
}
