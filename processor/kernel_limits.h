/// What the units of a core allow a kernel at most.
#pragma once

#include <optional>

#include "kestrel/kernels.h"
#include "processor/limits.h"

namespace processor {

/// Bytes a core cycle, with the array in the first-level cache. Nothing for kernels that write past
/// the caches, whose limit is the memory's, and where it is not known.
std::optional<double> limitOf(const Kestrel::ArrayKernel& kernel, const Limits& limits);

/// Instructions a core cycle; nothing where it is not known.
std::optional<double> limitOf(const Kestrel::FlopKernel& kernel, const Limits& limits);

}  // namespace processor
