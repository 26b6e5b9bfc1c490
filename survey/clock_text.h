/// Moments and spans as text.
#pragma once

#include <optional>
#include <string>

namespace survey {

/// "2026-03-01T12:30:05.123Z": now, in UTC.
std::string utcNow();

/// Seconds since 1970 of such a text; nothing for any other.
std::optional<double> secondsOf(const std::string& utc);

/// "45 s", "3 min 5 s", "2 h 10 min".
std::string spanText(double seconds);

}  // namespace survey
