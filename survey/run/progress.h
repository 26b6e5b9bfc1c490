/// What a survey says of itself while it runs, on standard error.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace survey {

/// A line that is drawn over and over where standard error is a terminal; else nothing, or, where
/// lines were asked for, a line every ten seconds.
class Progress {
  public:
    explicit Progress(bool lines);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(const std::string& point, std::size_t done, std::size_t all, double secondsLeft,
              std::size_t noisy);
    /// Takes the drawn line away.
    void clear();

  private:
    bool terminal, lines;
    bool drawn = false;
    std::chrono::steady_clock::time_point lastLine;
};

}  // namespace survey
