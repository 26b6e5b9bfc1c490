/// Which processor this is, from CPUID on the CPU that executes the call.
#pragma once

#include <cstdint>
#include <string>

namespace processor {

/// What tables of processors go by: the vendor text of CPUID leaf 0, family and model of leaf 1
/// with their extensions, as Intel's Software Developer's Manual, volume 2, CPUID, adds them up.
struct Signature {
    std::string vendor;
    std::uint32_t family, model;
};
Signature readSignature();

/// The brand text; "unknown" where the processor has none.
std::string brandText();

/// Bytes of the widest vector registers that both the processor and the operating system offer: 16,
/// 32 or 64.
std::uint32_t widestVector();

}  // namespace processor
