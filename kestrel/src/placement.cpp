#include "placement.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace Kestrel {
namespace {

/// Pages are looked at in runs of neighbours: single ones at equal distances could all lie on one
/// node of those that take turns. Of a 32-bit program Linux 6.1 looks at the first 16 pages of a
/// call only: it takes the addresses behind them from the wrong places.
constexpr std::size_t run = sizeof(void*) == 4 ? 16 : 256, mostRuns = 65536 / run;

void count(int node, Placement& placement) {
    if (node < 0) {  // -ENOENT: no page there; -EFAULT: the page of zeros that all share
        ++placement.absent;
        return;
    }
    const auto index = static_cast<std::size_t>(node);
    if (placement.onNode.size() <= index)
        placement.onNode.resize(index + 1);
    ++placement.onNode[index];
}

void lookAt(const std::byte* begin, std::size_t pages, std::size_t pageSize, Placement& placement) {
    std::array<const void*, run> addresses;
    std::array<int, run> nodes;
    for (std::size_t i = 0; i < pages; ++i)
        addresses[i] = begin + i * pageSize;
    if (syscall(SYS_move_pages, /*this process*/ 0, static_cast<unsigned long>(pages),
                addresses.data(), /*ask only*/ nullptr, nodes.data(), 0) != 0)
        return;
    for (std::size_t i = 0; i < pages; ++i)
        count(nodes[i], placement);
}

}  // namespace

void Placement::add(const Placement& other) {
    onNode.resize(std::max(onNode.size(), other.onNode.size()));
    for (std::size_t node = 0; node < other.onNode.size(); ++node)
        onNode[node] += other.onNode[node];
    absent += other.absent;
}

std::size_t Placement::elsewhere(unsigned long nodes) const {
    std::size_t pages = 0;
    for (std::size_t node = 0; node < onNode.size(); ++node)
        if (node >= 32 || (nodes >> node & 1) == 0)
            pages += onNode[node];
    return pages;
}

std::size_t Placement::total() const {
    return std::accumulate(onNode.begin(), onNode.end(), absent);
}

Placement placementOf(std::span<const std::byte> memory) {
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t pages = memory.size() / pageSize;
    const std::size_t runs = std::min((pages + run - 1) / run, mostRuns);
    Placement placement;
    for (std::size_t i = 0; i < runs; ++i) {
        // The places of the runs, in pages: next to one another where all pages are looked at.
        const std::size_t first =
            pages <= run * mostRuns ? i * run : (pages - run) / (runs - 1) * i;
        lookAt(memory.data() + first * pageSize, std::min(run, pages - first), pageSize, placement);
    }
    return placement;
}

}  // namespace Kestrel
