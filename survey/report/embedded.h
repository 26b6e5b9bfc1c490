/// Files of this folder and Chart.js, which the build puts into the program. A hash is what a
/// Content-Security-Policy takes: 'sha256-…'.
#pragma once

#include <string_view>

namespace survey::embedded {

extern const std::string_view page, licence;
extern const std::string_view style, styleHash;
extern const std::string_view script, scriptHash;
extern const std::string_view library, libraryHash;  ///< chart.min.js

}  // namespace survey::embedded
