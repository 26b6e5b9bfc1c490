/// The layer's invariants. A report names the half of the layer that holds the check, not the file:
/// files move, and a report should read the same from every build.
#pragma once

#include "tern/assertion.h"

namespace tern {

inline constexpr const char* portable_half = "tern/src/tern";
inline constexpr const char* linux_half = "tern/src/linux/tern";

/// Ends the process with a report unless `holds`. The line reported is the caller's.
inline void check(bool holds, const char* condition, const char* function, const char* half,
                  unsigned line = __builtin_LINE()) {
    if (!holds)
        tern_assert_fail(half, line, function, condition, nullptr);
}

}  // namespace tern
