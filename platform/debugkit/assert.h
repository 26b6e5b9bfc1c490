/// The assertion routine of the benchmark's classes: it reports and returns.
#pragma once

namespace debugkit {

/// Writes one line that names a broken invariant to standard error. The caller carries on.
void assertionFailed(const char* condition, const char* sourcePath, unsigned line,
                     const char* function);

}  // namespace debugkit
