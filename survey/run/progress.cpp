#include "survey/run/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "survey/clock_text.h"

namespace survey {
namespace {

std::size_t columns() {
    winsize size{};
    constexpr std::size_t usual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : usual;
}

}  // namespace

Progress::Progress(bool lines)
    : terminal(isatty(STDERR_FILENO) != 0),
      lines(lines),
      lastLine(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    clear();
}

void Progress::show(const std::string& point, std::size_t done, std::size_t all, double secondsLeft,
                    std::size_t noisy) {
    const std::string facts =
        std::to_string(done) + " of " + std::to_string(all) + " samples, " + spanText(secondsLeft) +
        " left" + (noisy != 0 ? ", " + std::to_string(noisy) + " noisy so far" : "") + ": " + point;
    if (terminal) {
        constexpr std::size_t bar = 20;
        const std::size_t full = all != 0 ? done * bar / all : 0;
        std::string line =
            "[" + std::string(full, '#') + std::string(bar - full, '.') + "] " + facts;
        line.resize(std::min(line.size(), columns() - 1));
        std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
        drawn = true;
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (lines && now - lastLine >= std::chrono::seconds(10)) {
        lastLine = now;
        std::fprintf(stderr, "kestrel-survey: %s\n", facts.c_str());
    }
}

void Progress::clear() {
    if (drawn)
        std::fprintf(stderr, "\r\x1b[K");
    drawn = false;
}

}  // namespace survey
