#include "processor/limits.h"

#include <algorithm>
#include <string_view>

namespace processor {
namespace {

constexpr Limits zen1{
    .loads = {.upTo16 = 2, .upTo32 = 1},
    .stores = {.upTo16 = 1, .upTo32 = 0.5},
    .memoryOperations = 2,
    .additions = {.upTo16 = 2, .upTo32 = 1},
    .multiplications = {.upTo16 = 2, .upTo32 = 1},
    .source = "AMD publication 55723, Software Optimization Guide for Family 17h Processors",
};
constexpr Limits zen2{
    .loads = {.upTo16 = 2, .upTo32 = 2},
    .stores = {.upTo16 = 1, .upTo32 = 1},
    .memoryOperations = 3,
    .additions = {.upTo16 = 2, .upTo32 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source =
        "AMD publication 56305, Software Optimization Guide for Family 17h Models 30h and Greater "
        "Processors",
};
constexpr Limits zen3{
    .loads = {.upTo16 = 2, .upTo32 = 2},  // three only into general registers
    .stores = {.upTo16 = 1, .upTo32 = 1},
    .memoryOperations = 3,
    .additions = {.upTo16 = 2, .upTo32 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source = "AMD publication 56665, Software Optimization Guide for Family 19h Processors",
};
// 512-bit instructions pass through the 256-bit units twice.
constexpr Limits zen4{
    .loads = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 1},
    .stores = {.upTo16 = 1, .upTo32 = 1, .upTo64 = 0.5},
    .memoryOperations = 3,
    .additions = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 1},
    .multiplications = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 1},
    .source = "AMD publication 57647, Software Optimization Guide for the Zen4 Microarchitecture",
};
constexpr Limits zen5{
    .loads = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .stores = {.upTo16 = 1, .upTo32 = 1, .upTo64 = 1},
    .memoryOperations = 4,
    .additions = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .source = "AMD publication 58455, Software Optimization Guide for the Zen5 Microarchitecture",
};

constexpr const char* intelManual =
    "Intel document 248966, 64 and IA-32 Architectures Optimization Reference Manual";

// Broadwell is the same.
constexpr Limits haswell{
    .loads = {.upTo16 = 2, .upTo32 = 2},
    .stores = {.upTo16 = 1, .upTo32 = 1},
    .memoryOperations = 3,
    .additions = {.upTo16 = 1, .upTo32 = 1},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source = intelManual,
};
constexpr Limits skylake{
    .loads = {.upTo16 = 2, .upTo32 = 2},
    .stores = {.upTo16 = 1, .upTo32 = 1},
    .memoryOperations = 3,
    .additions = {.upTo16 = 2, .upTo32 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source = intelManual,
};
// Here and in the next, whether there is a second unit for 512-bit arithmetic differs from one
// product of a model to another.
constexpr Limits skylakeServer{
    .loads = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .stores = {.upTo16 = 1, .upTo32 = 1, .upTo64 = 1},
    .memoryOperations = 3,
    .additions = {.upTo16 = 2, .upTo32 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source = intelManual,
};
// The second store of a cycle must be to the line of the first.
constexpr Limits iceLakeServer{
    .loads = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .stores = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 1},
    .memoryOperations = 4,
    .additions = {.upTo16 = 2, .upTo32 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2},
    .source = intelManual,
};
constexpr Limits goldenCoveServer{
    .loads = {.upTo16 = 3, .upTo32 = 3, .upTo64 = 2},
    .stores = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 1},  // as in Ice Lake
    .memoryOperations = 5,
    .additions = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .multiplications = {.upTo16 = 2, .upTo32 = 2, .upTo64 = 2},
    .source = intelManual,
};

struct Row {
    std::string_view vendor;
    std::uint32_t family, firstModel, lastModel;
    const Limits& limits;
};

constexpr std::string_view amd = "AuthenticAMD", intel = "GenuineIntel";

// Models as the Linux kernel groups them, in arch/x86/kernel/cpu/amd.c and
// arch/x86/include/asm/intel-family.h. Hybrid processors are left out: one model number stands for
// two kinds of core.
constexpr Row table[] = {
    {amd, 0x17, 0x00, 0x2F, zen1},
    {amd, 0x17, 0x30, 0x4F, zen2},
    {amd, 0x17, 0x50, 0x5F, zen1},
    {amd, 0x17, 0x60, 0x7F, zen2},
    {amd, 0x17, 0x90, 0x91, zen2},
    {amd, 0x17, 0xA0, 0xAF, zen2},
    {amd, 0x19, 0x00, 0x0F, zen3},
    {amd, 0x19, 0x10, 0x1F, zen4},
    {amd, 0x19, 0x20, 0x5F, zen3},
    {amd, 0x19, 0x60, 0xAF, zen4},
    {amd, 0x1A, 0x00, 0x1F, zen5},  // servers
    {amd, 0x1A, 0x40, 0x4F, zen5},  // desktops; mobile models have narrower units
    {intel, 0x6, 0x3C, 0x3C, haswell},
    {intel, 0x6, 0x3F, 0x3F, haswell},
    {intel, 0x6, 0x45, 0x46, haswell},
    {intel, 0x6, 0x3D, 0x3D, haswell},  // Broadwell, as the next three
    {intel, 0x6, 0x47, 0x47, haswell},
    {intel, 0x6, 0x4F, 0x4F, haswell},
    {intel, 0x6, 0x56, 0x56, haswell},
    {intel, 0x6, 0x4E, 0x4E, skylake},
    {intel, 0x6, 0x5E, 0x5E, skylake},
    {intel, 0x6, 0x8E, 0x8E, skylake},  // Kaby Lake and its kin, as the next
    {intel, 0x6, 0x9E, 0x9E, skylake},
    {intel, 0x6, 0xA5, 0xA6, skylake},        // Comet Lake
    {intel, 0x6, 0x55, 0x55, skylakeServer},  // with Cascade Lake and Cooper Lake
    {intel, 0x6, 0x6A, 0x6A, iceLakeServer},
    {intel, 0x6, 0x6C, 0x6C, iceLakeServer},
    {intel, 0x6, 0x8F, 0x8F, goldenCoveServer},  // Sapphire Rapids
    {intel, 0x6, 0xCF, 0xCF, goldenCoveServer},  // Emerald Rapids
};

}  // namespace

std::optional<double> PerCycle::of(std::uint32_t width) const {
    const double rate = width <= 16 ? upTo16 : width <= 32 ? upTo32 : upTo64;
    return rate != 0 ? std::optional(rate) : std::nullopt;
}

std::optional<double> Limits::bytesPerCycle(std::uint32_t width, std::uint32_t loadCount,
                                            std::uint32_t storeCount) const {
    const auto loadRate = loads.of(width), storeRate = stores.of(width);
    if (!loadRate || !storeRate)
        return std::nullopt;
    const std::uint32_t both = loadCount + storeCount;
    const double cycles =
        std::max({loadCount / *loadRate, storeCount / *storeRate, both / memoryOperations});
    return width * both / cycles;
}

std::optional<Limits> limitsOf(const Signature& signature) {
    const auto* const row = std::ranges::find_if(table, [&](const Row& candidate) {
        return candidate.vendor == signature.vendor && candidate.family == signature.family &&
               candidate.firstModel <= signature.model && signature.model <= candidate.lastModel;
    });
    return row != std::end(table) ? std::optional(row->limits) : std::nullopt;
}

}  // namespace processor
