/// The memory that a worker runs its pattern over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kestrel/pattern.h"

namespace Kestrel {

class IArray {
  public:
    /// Runs the pattern over the array's memory on the calling thread; returns its status.
    virtual PatternStatus run(IPattern& pattern, WorkerResult& results, const RunPhase& phase) = 0;
    virtual ~IArray() = default;
};

/// The nodes that a set of nodes can name are 0 to 31, a bit for each.
inline constexpr std::uint32_t nodeBitCount = 32;

/// Page size of the mapping. The two large ones need huge pages that the system has reserved.
enum PageKind : std::uint32_t { pkSystem = 1, pk4K = 2, pk2M = 3, pk1G = 4 };

/// A fresh anonymous mapping whose pages the kernel interleaves over NUMA nodes as they are first
/// touched. Created and destroyed on the driver's thread; only read while workers run.
class Array : public IArray {
  public:
    enum Error : std::uint32_t {
        aeOk = 1,
        aeInvalidArgument = 2,  ///< no size, page kind or node; or a null array to destroy
        aeMapFailed = 3,        ///< also where rounding up to whole pages passes 4 GiB
        aeBindFailed = 4,       ///< the kernel refused the nodes
        aeNoMemory = 6,         ///< no memory for the object itself
    };

    /// Maps `size` bytes, rounded up to whole pages of `kind`. `nodeMask` is a bit set of nodes as
    /// mbind takes it (words of unsigned long), of which the first `maxNode` bits are looked at.
    /// Without NUMA support in the kernel the nodes do not matter. Stores the array only on
    /// success; the caller ends it with `destroy`.
    static Error create(std::uint32_t size, std::uint32_t kind, const unsigned long* nodeMask,
                        std::uint32_t maxNode, IArray** out);
    static Error destroy(IArray* array);

    PatternStatus run(IPattern& pattern, WorkerResult& results, const RunPhase& phase) override;

    /// The mapping; empty where the array holds none.
    [[nodiscard]] std::span<std::byte> memory() const { return {base, length}; }

    /// The rounded length in bytes, in 32-bit arithmetic: 0 where it passes 4 GiB, or where the
    /// kind is unknown.
    static std::uint32_t roundedLength(std::uint32_t size, std::uint32_t kind);

    /// Unmaps the memory, if any. Returns aeOk.
    Error release();

  private:
    Error allocate(std::uint32_t size, std::uint32_t kind, const unsigned long* nodeMask,
                   std::uint32_t maxNode);

    std::byte* base = nullptr;
    std::uint32_t length = 0;
};

}  // namespace Kestrel
