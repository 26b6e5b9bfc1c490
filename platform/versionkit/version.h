/// Which program this is: what a bug report and a survey's file must say of it.
#pragma once

#include <string>

namespace versionkit {

extern const char* const number;  ///< "1.0", the project's version
/// The commit that was built, as 12 hexadecimal digits, with "-dirty" behind it where files
/// differed from it; "unknown" where neither git nor a source archive tells. As of the last build.
extern const char* const commit;
extern const char* const compiler;  ///< with its version

/// "PROGRAM 1.0 (0123456789ab, 64 bits)".
std::string text(const std::string& program);

}  // namespace versionkit
