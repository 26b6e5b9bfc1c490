#include "debugkit/assert.h"

#include <cstdio>

namespace debugkit {

void assertionFailed(const char* condition, const char* sourcePath, unsigned line,
                     const char* function) {
    std::fprintf(stderr, "%s:%u: %s: assertion '%s' failed\n", sourcePath, line, function,
                 condition);
}

}  // namespace debugkit
