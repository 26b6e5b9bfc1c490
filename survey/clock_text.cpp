#include "survey/clock_text.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace survey {

std::string utcNow() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto milli = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<int>(milli));
    return text.data();
}

std::optional<double> secondsOf(const std::string& utc) {
    tm parts{};
    int milli = 0, read = 0;
    const int fields =
        std::sscanf(utc.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &milli, &read);
    if (fields != 7 || static_cast<std::size_t>(read) != utc.size())
        return std::nullopt;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return static_cast<double>(timegm(&parts)) + milli / 1e3;
}

std::string spanText(double seconds) {
    const auto whole = std::lround(seconds);
    if (whole < 60)
        return std::to_string(whole) + " s";
    if (whole < 3600)
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

}  // namespace survey
