/// Where the facts come from.
#pragma once

#include <string>

#include "tern/processor.h"

namespace machine {

/// tern_cpuid, or a function that answers from a recording.
using CpuidInstruction = void (*)(const tern_cpuid_block* in, tern_cpuid_block* out);

/// This machine, or a recording of another one.
struct Sources {
    std::string root;  ///< stands before /proc, /sys and /etc
    CpuidInstruction cpuid = tern_cpuid;
    /// Whether the running system may be asked besides: by its calls, by visiting its CPUs, by
    /// measuring its counter. A recording has nothing of the kind.
    bool live = true;
};

inline Sources thisMachine() {
    return {};
}

}  // namespace machine
