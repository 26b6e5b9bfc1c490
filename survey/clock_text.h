/// Moments and spans as text.
#pragma once

#include <string>

namespace survey {

/// "2026-03-01T12:30:05.123Z": now, in UTC.
std::string utcNow();

/// "45 s", "3 min 5 s", "2 h 10 min".
std::string spanText(double seconds);

}  // namespace survey
