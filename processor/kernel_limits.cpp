#include "processor/kernel_limits.h"

#include <algorithm>

namespace processor {

std::optional<double> limitOf(const Kestrel::ArrayKernel& kernel, const Limits& limits) {
    const Kestrel::ArrayTraffic traffic = trafficOf(kernel.shape);
    if (traffic.pastCaches)
        return std::nullopt;
    // A word wider than the registers passes through several.
    const std::uint32_t width = std::min(kernel.word, widestVector());
    return limits.bytesPerCycle(width, traffic.loads, traffic.stores);
}

std::optional<double> limitOf(const Kestrel::FlopKernel& kernel, const Limits& limits) {
    const std::uint32_t width = kernel.lanes * (kernel.precision == Kestrel::fp_single ? 4 : 8);
    switch (kernel.operation) {
        case Kestrel::fo_add:
            return limits.additions.of(width);
        case Kestrel::fo_mul:
        case Kestrel::fo_fma:
            return limits.multiplications.of(width);
    }
    return std::nullopt;
}

}  // namespace processor
