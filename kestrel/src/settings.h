/// What the command line asked for.
#pragma once

#include <cstdint>
#include <string>

namespace Kestrel {

struct BenchmarkSettings {
    std::uint32_t patternId = 0;  ///< 0: the name matched no pattern
    std::uint32_t size = 0;       ///< bytes of an array; operations of a pass for "s-lms" and
                                  ///< "s-lms-l", loops of a pass for floating point
    std::string nodeMask;
    std::string cpuMask;
    std::uint32_t word = 0;      ///< bytes
    std::uint32_t stride = 0;    ///< bytes
    std::uint32_t duration = 0;  ///< seconds
    bool bandwidth = false;
};

}  // namespace Kestrel
