#include "machine/processor.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "machine/reading.h"
#include "machine/text.h"
#include "tern/src/linux/processor/brand_text.h"
#include "tern/src/linux/tern/time.h"

namespace machine {

namespace {

std::string brandText(const Sources& sources) {
    std::array<char, 49> brand{};
    tern::read_brand_text(sources.cpuid, brand.data());
    return validText(trimmed(brand.data()));
}

std::optional<std::string> vendorText(const Sources& sources) {
    const tern_cpuid_block leaf = tern::read_leaf(sources.cpuid, 0);
    std::array<char, 13> text{};
    std::memcpy(text.data(), &leaf.ebx, 4);
    std::memcpy(text.data() + 4, &leaf.edx, 4);
    std::memcpy(text.data() + 8, &leaf.ecx, 4);
    return told(validText(trimmed(text.data())));
}

/// Whether the brand text ends in just this frequency. The layer takes whatever stands behind the
/// point for hundredths, however many digits, and a unit that it does not know for hertz.
bool endsIn(const std::string& brand, std::uint64_t hertz) {
    std::array<char, 32> word;
    for (const auto& [unit, scale] :
         {std::pair("GHz", 1'000'000'000u), std::pair("MHz", 1'000'000u)}) {
        const auto hundredths = static_cast<unsigned>(hertz / (scale / 100));
        std::snprintf(word.data(), word.size(), " %u.%02u%s", hundredths / 100, hundredths % 100,
                      unit);
        if (brand.ends_with(word.data()))
            return true;
    }
    return false;
}

std::optional<NominalFrequency> nominalFrequency(const Sources& sources, const std::string& brand) {
    using Source = NominalFrequency::Source;
    const tern::cpu_frequency found =
        tern::find_cpu_frequency(sources.cpuid, (sources.root + "/proc/cpuinfo").c_str());
    NominalFrequency frequency{.hertz = found.hertz, .source = Source::brandText};
    if (found.source != tern::frequency_source::brand_text || !endsIn(brand, found.hertz)) {
        const std::uint64_t megahertz = tern::read_leaf(sources.cpuid, 0x16).eax & 0xFFFF;
        frequency = {.hertz = megahertz * 1'000'000, .source = Source::leaf16};
        if (megahertz == 0 && found.source == tern::frequency_source::cpuinfo)
            frequency = {.hertz = found.hertz, .source = Source::presentClock};
    }
    const bool plausible =
        frequency.hertz >= lowestFrequency && frequency.hertz <= highestFrequency;
    return plausible ? std::optional(frequency) : std::nullopt;
}

std::map<std::string, std::string> readVulnerabilities(const Sources& sources) {
    const std::string folder = std::string(cpuFolder) + "/vulnerabilities/";
    std::map<std::string, std::string> vulnerabilities;
    for (const std::string& name : namesIn(sources, folder))
        if (const auto words = readLine(sources, folder + name))
            vulnerabilities[validText(name)] = *words;
    return vulnerabilities;
}

}  // namespace

Processor gatherProcessor(const Sources& sources, const Cpuinfo& cpuinfo) {
    const std::string brand = brandText(sources);
    Processor processor;
    processor.name = brand.empty() ? cpuinfo.name : brand;
    processor.vendor = cpuinfo.vendor ? cpuinfo.vendor : vendorText(sources);
    processor.microcode = cpuinfo.microcode;
    processor.family = cpuinfo.family;
    processor.model = cpuinfo.model;
    processor.stepping = cpuinfo.stepping;
    processor.nominalFrequency = nominalFrequency(sources, brand);
    if (tern::read_leaf(sources.cpuid, 0x80000000).eax >= 0x80000007)
        processor.counterInvariant =
            (tern::read_leaf(sources.cpuid, 0x80000007).edx & (1u << 8)) != 0;
    if (tern::read_leaf(sources.cpuid, 0).eax >= 0x0A)
        processor.performanceMonitoringVersion = tern::read_leaf(sources.cpuid, 0x0A).eax & 0xFF;
    if (sources.live)
        processor.instructionSets = {.avx = tern_cpu_has_avx() != 0,
                                     .avx2 = tern_cpu_has_avx2() != 0,
                                     .fma = tern_cpu_has_fma() != 0,
                                     .avx512f = tern_cpu_has_avx512f() != 0};
    processor.vulnerabilities = readVulnerabilities(sources);
    return processor;
}

}  // namespace machine
