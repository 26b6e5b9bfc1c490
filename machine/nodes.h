/// The NUMA nodes.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "machine/memory.h"
#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

struct Node {
    unsigned number;
    NumberList cpus;  ///< online ones; a node may have none
    std::optional<std::uint64_t> memoryBytes, freeBytes;
    /// To each node of the list that gatherNodes returns, in its order: 10 is a node's own memory.
    /// Empty: not told.
    std::vector<unsigned> distances;
    std::vector<HugePagePool> hugePages;
};

/// The nodes online, by number; none where the kernel does not tell.
std::vector<Node> gatherNodes(const Sources& sources);

}  // namespace machine
