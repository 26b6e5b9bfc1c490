/// What the processor is, how fast it is said to be, and what the kernel does about its faults.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "machine/cpuinfo.h"
#include "machine/sources.h"

namespace machine {

/// The frequency that the processor is sold by, and who told it.
struct NominalFrequency {
    enum class Source {
        brandText,    ///< the last word of the brand text
        leaf16,       ///< CPUID leaf 0x16, EAX: the base frequency in MHz
        presentClock  ///< the first "cpu MHz" line of /proc/cpuinfo: the clock of that moment
    };
    std::uint64_t hertz;
    Source source;
};

/// Beyond these a frequency is a misreading and counts as not told: no processor that runs this is
/// so slow, none so fast.
inline constexpr std::uint64_t lowestFrequency = 100'000'000, highestFrequency = 10'000'000'000;

/// What the processor has and the operating system saves the registers of.
struct InstructionSets {
    bool avx, avx2, fma, avx512f;
};

struct Processor {
    std::optional<std::string> name, vendor, microcode;
    std::optional<unsigned> family, model, stepping;
    std::optional<NominalFrequency> nominalFrequency;
    /// The time-stamp counter keeps one rate in all states of power: CPUID leaf 0x80000007, EDX
    /// bit 8.
    std::optional<bool> counterInvariant;
    std::optional<std::uint64_t> counterHz;  ///< measured
    std::optional<InstructionSets> instructionSets;
    std::optional<unsigned> performanceMonitoringVersion;  ///< CPUID leaf 0x0A; 0: there is none
    /// The kernel's words about each known fault of processors, by its name for it ("spectre_v2").
    /// Empty: not told.
    std::map<std::string, std::string> vulnerabilities;
};

/// All but the counter's rate.
Processor gatherProcessor(const Sources& sources, const Cpuinfo& cpuinfo);

}  // namespace machine
