/// On which NUMA nodes the pages of a piece of memory lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Kestrel {

/// Pages, counted by where they lie. All zero where the kernel does not tell.
struct Placement {
    std::vector<std::size_t> onNode;  ///< by the node's number
    std::size_t absent = 0;           ///< pages that nobody has touched

    void add(const Placement& other);
    /// Pages on nodes whose bit is not set in `nodes` (bit n stands for node n, 0 to 31).
    [[nodiscard]] std::size_t elsewhere(unsigned long nodes) const;
    [[nodiscard]] std::size_t total() const;  ///< absent ones included
};

/// Asks the kernel (the move_pages system call, which here moves nothing) about every system page
/// of `memory`; about a sample of 65,536, spread over all of it, where there are more. Takes some
/// 200 ns a page. A page of 2 MiB counts as the 512 system pages that it is made of.
Placement placementOf(std::span<const std::byte> memory);

}  // namespace Kestrel
