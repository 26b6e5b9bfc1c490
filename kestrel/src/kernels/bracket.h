/// The bracket in which every kernel does its work.
#pragma once

#include <cstdint>

#include "tern/run_services.h"

namespace Kestrel {

/// Runs `work` and returns the counter ticks that it took.
///
/// LFENCE does not complete until all earlier instructions have, and nothing later starts before
/// it (on AMD processors because Linux sets the bit that makes it so, DE_CFG[1]). The first keeps
/// earlier work out of the span, the second keeps unfinished work in, so a single pass is as true
/// as a thousand. None stands behind the first read: it would add its own latency to short spans,
/// a tenth of a 16 KiB sweep.
///
/// The span begins on a cache line, so that what a kernel reaches does not change with whatever the
/// linker puts before it.
template <class Work>
[[gnu::always_inline]] inline std::uint64_t timed(Work work) {
    asm volatile(".p2align 6; lfence" ::: "memory");
    const std::uint64_t start = tern_read_tsc();
    work();
    asm volatile("lfence" ::: "memory");
    return tern_read_tsc() - start;
}

}  // namespace Kestrel
