#include "random_list_pattern.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "kestrel/kernels.h"

namespace Kestrel {
namespace {

/// All numbers below a power of two, each once and round again, in an order that looks random. A
/// number's successor follows from the number alone, so a list can be laid in the order of memory.
class RandomCycle {
  public:
    /// Over the numbers below `count` (not 0), of which fewer than half as many more are skipped.
    explicit RandomCycle(std::uint32_t count)
        : count(count),
          bits(std::max<unsigned>(2, std::bit_width(count - 1))),
          mask(static_cast<std::uint32_t>((std::uint64_t{1} << bits) - 1)) {}

    [[nodiscard]] std::uint32_t after(std::uint32_t number) const {
        std::uint32_t x = unmix(number);
        do {
            // Full period: the factor is 1 modulo 4, the summand odd.
            x = (x * 0x2C9277B5u + 0xAC564B05u) & mask;
            number = mix(x);
        } while (number >= count);
        return number;
    }

  private:
    // One to one on `bits` bits, each step of it: the generator's low bits repeat soon, and every
    // bit of the result must depend on the high ones.
    [[nodiscard]] std::uint32_t mix(std::uint32_t x) const {
        x ^= x >> half();
        x = x * factor & mask;
        x ^= x >> half();
        x = x * factor & mask;
        return x ^ x >> half();
    }
    [[nodiscard]] std::uint32_t unmix(std::uint32_t x) const {
        x ^= x >> half();
        x = x * inverse & mask;
        x ^= x >> half();
        x = x * inverse & mask;
        return x ^ x >> half();
    }
    /// So large that shifting twice leaves nothing: then the step is its own inverse.
    [[nodiscard]] unsigned half() const { return (bits + 1) / 2; }

    static constexpr std::uint32_t factor = 0x9E3779B1;
    /// Modulo 2^32, and so modulo every smaller power of two. Each turn doubles the bits that are
    /// right, from the three that any odd number's own are.
    static constexpr std::uint32_t inverse = [] {
        std::uint32_t x = factor;
        for (int i = 0; i < 4; ++i)
            x *= 2 - factor * x;
        return x;
    }();
    static_assert(factor * inverse == 1);

    std::uint32_t count;
    unsigned bits;
    std::uint32_t mask;
};

constexpr std::uint32_t linksOfAPass = 1u << 17;

/// Strides need not be aligned.
void storeAddress(std::byte* place, const std::byte* address) {
    std::memcpy(place, &address, sizeof address);
}

/// Where pieces of `length` links begin, each but the last with the place of the next, and the last
/// with that of the first. The few links behind the last piece are left out.
void markPieces(std::byte* buffer, std::uint32_t stride, const RandomCycle& cycle,
                std::uint32_t pieces, std::uint32_t length) {
    const auto secondWordOf = [&](std::uint32_t node) {
        return buffer + std::size_t{node} * stride + sizeof buffer;
    };
    std::uint32_t start = 0;
    for (std::uint32_t piece = 1; piece < pieces; ++piece) {
        std::uint32_t next = start;
        for (std::uint32_t i = 0; i < length; ++i)
            next = cycle.after(next);
        storeAddress(secondWordOf(start), buffer + std::size_t{next} * stride);
        start = next;
    }
    storeAddress(secondWordOf(start), buffer);
}

}  // namespace

PatternStatus RandomListPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                         const WorkerResult& /*results*/, PatternState& state) {
    if (stride < 2 * sizeof buffer)
        return psInvalidParameters;
    if (buffer == nullptr || size < stride)
        return psInvalidArray;
    const std::uint32_t nodes = size / stride;
    const RandomCycle cycle(nodes);
    for (std::uint32_t node = 0; node < nodes; ++node)
        storeAddress(buffer + std::size_t{node} * stride,
                     buffer + std::size_t{cycle.after(node)} * stride);
    const std::uint32_t pieces = std::max(1u, nodes / linksOfAPass);
    const std::uint32_t rounds = std::max(1u, linksOfAPass / nodes);
    markPieces(buffer, stride, cycle, pieces, nodes / pieces);
    state.begin = buffer;
    state.count = nodes / pieces * rounds;
    return psOk;
}

std::uint64_t RandomListPattern::runPass(PatternState& state) {
    const std::uint64_t ticks = kestrel___list(state.begin, state.count);
    std::memcpy(&state.begin, state.begin + sizeof state.begin, sizeof state.begin);
    return ticks;
}

void RandomListPattern::finish(const PatternState& state, WorkerResult& results) {
    // As in the plain list, a visit counts as 8 bytes.
    results.bytes = std::uint64_t{state.count} * 8 * results.iterations;
}

}  // namespace Kestrel
