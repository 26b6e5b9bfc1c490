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
    if (__get_cpuid_max(0x80000000, nullptr) < 0x80000004)
        return "unknown";
    for (std::uint32_t i = 0; i < 3; ++i)
        __cpuid(0x80000002 + i, words[4 * i], words[4 * i + 1], words[4 * i + 2], words[4 * i + 3]);
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
    LoadStoreLimits limits;
};

constexpr Row table[] = {
    {"AuthenticAMD", 0x17, 0x00, 0x2F, {2, 16, 1, 16, amdGuide55723}},
    {"AuthenticAMD", 0x17, 0x30, 0xFF, {2, 32, 1, 32, amdGuide56305}},
    {"AuthenticAMD", 0x19, 0x10, 0x1F, {2, 32, 1, 32, amdGuide57647}},
    {"AuthenticAMD", 0x19, 0x60, 0xAF, {2, 32, 1, 32, amdGuide57647}},
    {"AuthenticAMD", 0x19, 0x00, 0xFF, {2, 32, 1, 32, amdGuide56665}},
    {"AuthenticAMD", 0x1A, 0x00, 0xFF, {2, 64, 1, 64, amdGuide58455}},
    // Skylake and Cascade Lake servers; Ice Lake; Sapphire and Emerald Rapids.
    {"GenuineIntel", 0x6, 0x55, 0x55, {2, 64, 1, 64, intelManual}},
    {"GenuineIntel", 0x6, 0x6A, 0x6C, {2, 64, 1, 64, intelManual}},
    {"GenuineIntel", 0x6, 0x7D, 0x7E, {2, 64, 1, 64, intelManual}},
    {"GenuineIntel", 0x6, 0x8F, 0x8F, {2, 64, 1, 64, intelManual}},
    {"GenuineIntel", 0x6, 0xCF, 0xCF, {2, 64, 1, 64, intelManual}},
    // Haswell, Broadwell, Skylake and Kaby Lake clients and servers without 512-bit units.
    {"GenuineIntel", 0x6, 0x3C, 0x3F, {2, 32, 1, 32, intelManual}},
    {"GenuineIntel", 0x6, 0x45, 0x4F, {2, 32, 1, 32, intelManual}},
    {"GenuineIntel", 0x6, 0x56, 0x56, {2, 32, 1, 32, intelManual}},
    {"GenuineIntel", 0x6, 0x5E, 0x5E, {2, 32, 1, 32, intelManual}},
    {"GenuineIntel", 0x6, 0x8E, 0x8E, {2, 32, 1, 32, intelManual}},
    {"GenuineIntel", 0x6, 0x9E, 0x9E, {2, 32, 1, 32, intelManual}},
};

}  // namespace

double LoadStoreLimits::bytesPerCycle(std::uint32_t width, double storesPerLoad) const {
    const auto rate = [width](std::uint32_t perCycle, std::uint32_t widest) {
        return perCycle * std::min(1.0, static_cast<double>(widest) / width);
    };
    const double cyclesPerLoad =
        std::max(1 / rate(loads, loadWidth), storesPerLoad / rate(stores, storeWidth));
    return width * (1 + storesPerLoad) / cyclesPerLoad;
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
