#include "tern/src/linux/processor/cpuid_leaf.h"

namespace tern {

static tern_cpuid_block execute(cpuid_instruction cpuid, std::uint32_t leaf,
                                std::uint32_t subleaf) {
    tern_cpuid_block r{.eax = leaf, .ebx = 0, .ecx = subleaf, .edx = 0};
    cpuid(&r, &r);
    return r;
}

tern_cpuid_block read_leaf(cpuid_instruction cpuid, std::uint32_t leaf, std::uint32_t subleaf) {
    const std::uint32_t range = leaf & 0xFFFF0000;
    if (leaf != range && leaf > execute(cpuid, range, 0).eax)
        return {};
    return execute(cpuid, leaf, subleaf);
}

}  // namespace tern
