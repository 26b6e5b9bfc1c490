#include "versionkit/version.h"

namespace versionkit {

#ifdef __clang__
const char* const compiler = __VERSION__;
#else
const char* const compiler = "g++ " __VERSION__;
#endif

std::string text(const std::string& program) {
    constexpr unsigned width = 8 * sizeof(void*);
    return program + ' ' + number + " (" + commit + ", " + std::to_string(width) + " bits)";
}

}  // namespace versionkit
