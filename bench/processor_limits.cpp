#include "processor_limits.h"

#include <cpuid.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace bench {
namespace {

struct Signature {
    std::string vendor;
    std::uint32_t family, model;
};

/// CPUID leaf 0 EBX, EDX, ECX; leaf 1 EAX: family 11..8 and 27..20, model 7..4 and 19..16.
Signature readSignature() {
    std::uint32_t a = 0, b = 0, c = 0, d = 0;
    __cpuid(0, a, b, c, d);
    const std::array<std::uint32_t, 3> vendor = {b, d, c};
    std::string text(sizeof vendor, '\0');
    std::memcpy(text.data(), vendor.data(), sizeof vendor);
    __cpuid(1, a, b, c, d);
    std::uint32_t family = a >> 8 & 0xF;
    const std::uint32_t model = (a >> 4 & 0xF) | (a >> 12 & 0xF0);
    if (family == 0xF)
        family += a >> 20 & 0xFF;
    return {text, family, model};
}

/// CPUID leaves 0x80000002 to 0x80000004: 48 characters.
std::string readBrand() {
    std::array<std::uint32_t, 12> words{};
    for (std::uint32_t i = 0; i < words.size(); i += 4)
        if (__get_cpuid(0x80000002 + i / 4, &words[i], &words[i + 1], &words[i + 2],
                        &words[i + 3]) == 0)
            return "unknown";
    std::string text(sizeof words, '\0');
    std::memcpy(text.data(), words.data(), sizeof words);
    text.resize(std::strlen(text.c_str()));
    return text;
}

constexpr const char* amdGuide55723 =
    "AMD, Software Optimization Guide for AMD Family 17h Processors, publication 55723, load-store "
    "unit";
constexpr const char* amdGuide56305 =
    "AMD, Software Optimization Guide for AMD Family 17h Models 30h and Greater Processors, "
    "publication 56305, load-store unit";
constexpr const char* amdGuide56665 =
    "AMD, Software Optimization Guide for AMD Family 19h Processors, publication 56665, "
    "load-store unit";
constexpr const char* amdGuide57647 =
    "AMD, Software Optimization Guide for the AMD Zen4 Microarchitecture, publication 57647, "
    "load-store unit";
constexpr const char* amdGuide58455 =
    "AMD, Software Optimization Guide for the AMD Zen5 Microarchitecture, publication 58455, "
    "load-store unit";
constexpr const char* intelManual =
    "Intel, 64 and IA-32 Architectures Optimization Reference Manual, document 248966, cache "
    "parameters of the microarchitecture";

struct Row {
    std::string_view vendor;
    std::uint32_t family, firstModel, lastModel;
    ProcessorLimits limits;
};

constexpr ProcessorLimits zen1{2, 16, 1, 16, 2, 2, 16, true, amdGuide55723};
constexpr ProcessorLimits zen2{2, 32, 1, 32, 2, 2, 32, true, amdGuide56305};
constexpr ProcessorLimits zen3{2, 32, 1, 32, 2, 2, 32, true, amdGuide56665};
constexpr ProcessorLimits zen4{2, 32, 1, 32, 2, 2, 32, true, amdGuide57647};
constexpr ProcessorLimits zen5{2, 64, 1, 64, 2, 2, 64, true, amdGuide58455};
constexpr ProcessorLimits haswell{2, 32, 1, 32, 1, 2, 32, false, intelManual};
constexpr ProcessorLimits skylake{2, 32, 1, 32, 2, 2, 32, false, intelManual};
// Whether there is a second unit for 512-bit arithmetic differs within a model.
constexpr ProcessorLimits skylakeServer{2, 64, 1, 64, 2, 2, 32, false, intelManual};

// The first row that matches counts.
constexpr Row table[] = {
    {"AuthenticAMD", 0x17, 0x00, 0x2F, zen1},
    {"AuthenticAMD", 0x17, 0x30, 0xFF, zen2},
    {"AuthenticAMD", 0x19, 0x10, 0x1F, zen4},
    {"AuthenticAMD", 0x19, 0x60, 0xAF, zen4},
    {"AuthenticAMD", 0x19, 0x00, 0xFF, zen3},
    {"AuthenticAMD", 0x1A, 0x00, 0x1F, zen5},  // servers
    {"AuthenticAMD", 0x1A, 0x40, 0x4F, zen5},  // desktops; mobile models have narrower units
    {"GenuineIntel", 0x6, 0x55, 0x55, skylakeServer},  // Skylake and Cascade Lake
    {"GenuineIntel", 0x6, 0x6A, 0x6C, skylakeServer},  // Ice Lake servers
    {"GenuineIntel", 0x6, 0x8F, 0x8F, skylakeServer},  // Sapphire Rapids
    {"GenuineIntel", 0x6, 0xCF, 0xCF, skylakeServer},  // Emerald Rapids
    {"GenuineIntel", 0x6, 0x3C, 0x3C, haswell},
    {"GenuineIntel", 0x6, 0x3F, 0x3F, haswell},
    {"GenuineIntel", 0x6, 0x45, 0x46, haswell},
    {"GenuineIntel", 0x6, 0x3D, 0x3D, haswell},  // Broadwell, like the next two
    {"GenuineIntel", 0x6, 0x4F, 0x4F, haswell},
    {"GenuineIntel", 0x6, 0x56, 0x56, haswell},
    {"GenuineIntel", 0x6, 0x4E, 0x4E, skylake},
    {"GenuineIntel", 0x6, 0x5E, 0x5E, skylake},
    {"GenuineIntel", 0x6, 0x8E, 0x8E, skylake},  // Kaby Lake and its kin
    {"GenuineIntel", 0x6, 0x9E, 0x9E, skylake},
};

}  // namespace

double ProcessorLimits::bytesPerCycle(std::uint32_t width, double storesPerLoad) const {
    const auto rate = [width](std::uint32_t perCycle, std::uint32_t widest) {
        return perCycle * std::min(1.0, static_cast<double>(widest) / width);
    };
    const double cyclesPerLoad =
        std::max(1 / rate(loads, loadWidth), storesPerLoad / rate(stores, storeWidth));
    return width * (1 + storesPerLoad) / cyclesPerLoad;
}

std::optional<double> ProcessorLimits::instructionsPerCycle(std::uint32_t width,
                                                            bool addition) const {
    const double rate = addition ? additions : multiplications;
    if (width <= arithmeticWidth)
        return rate;
    if (!splitsWider)
        return std::nullopt;
    return rate * arithmeticWidth / width;
}

Processor thisProcessor() {
    const Signature signature = readSignature();
    Processor processor{readBrand(), std::nullopt};
    const auto* const row = std::ranges::find_if(table, [&](const Row& candidate) {
        return candidate.vendor == signature.vendor && candidate.family == signature.family &&
               candidate.firstModel <= signature.model && signature.model <= candidate.lastModel;
    });
    if (row != std::end(table))
        processor.limits = row->limits;
    return processor;
}

}  // namespace bench
