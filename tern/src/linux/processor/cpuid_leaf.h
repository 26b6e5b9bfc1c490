/// Reading CPUID leaves, with the processor (or a recording of one) as a parameter.
#pragma once

#include "tern/processor.h"

namespace tern {

/// tern_cpuid, or a function that answers from a recording.
using cpuid_instruction = void (*)(const tern_cpuid_block* in, tern_cpuid_block* out);

/// A leaf's registers; all zero for a leaf beyond the highest of its range, where Intel's
/// processors would answer with the highest basic leaf instead. A range's first leaf (0,
/// 0x4000'0000, 0x8000'0000) tells its highest one in EAX and is always read.
tern_cpuid_block read_leaf(cpuid_instruction cpuid, std::uint32_t leaf, std::uint32_t subleaf = 0);

}  // namespace tern
