#include "processor/identity.h"

#include <array>
#include <cstring>

#include "tern/processor.h"

namespace processor {
namespace {

tern_cpuid_block leaf(std::uint32_t number) {
    tern_cpuid_block registers{.eax = number, .ebx = 0, .ecx = 0, .edx = 0};
    tern_cpuid(&registers, &registers);
    return registers;
}

}  // namespace

Signature readSignature() {
    const tern_cpuid_block first = leaf(0);
    const std::array<std::uint32_t, 3> vendor = {first.ebx, first.edx, first.ecx};
    std::string text(sizeof vendor, '\0');
    std::memcpy(text.data(), vendor.data(), sizeof vendor);
    // Family in bits 11..8 and, where those are all set, 27..20; model in bits 7..4 and 19..16.
    const std::uint32_t bits = leaf(1).eax;
    std::uint32_t family = bits >> 8 & 0xF;
    if (family == 0xF)
        family += bits >> 20 & 0xFF;
    return {.vendor = text, .family = family, .model = (bits >> 4 & 0xF) | (bits >> 12 & 0xF0)};
}

std::string brandText() {
    std::array<char, 49> text{};  // one more than the text, which need not be terminated
    if (tern_cpuid_brand_string(text.data()) == 0)
        return "unknown";
    return text.data();
}

std::uint32_t widestVector() {
    return tern_cpu_has_avx512f() != 0 ? 64 : tern_cpu_has_avx() != 0 ? 32 : 16;
}

}  // namespace processor
