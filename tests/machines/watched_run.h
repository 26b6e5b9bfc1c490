/// A run of the program, watched in /proc while it goes on.
#pragma once

#include <filesystem>
#include <future>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "run_program.h"

using PagesByNode = std::map<unsigned, long>;

std::string contentOf(const std::filesystem::path& file);

/// The pages of each array of a process, a folder of /proc. Nothing but arrays is interleaved.
std::vector<PagesByNode> arraysOf(const std::filesystem::path& process);

class WatchedRun {
  public:
    explicit WatchedRun(const Words& arguments);

    /// Waits until its arrays have that many pages together, or it ends.
    void waitForPages(long pages);

    [[nodiscard]] std::vector<PagesByNode> arrays() const { return arraysOf(process); }
    /// KiB of memory in transparent huge pages.
    [[nodiscard]] long hugeKibibytes() const;
    /// The CPU that each worker is bound to, and last ran on.
    [[nodiscard]] std::multiset<long> workerCpus() const;

    [[nodiscard]] Outcome wait() const { return outcome.get(); }

  private:
    /// The folder of the process with those arguments; empty as long as there is none.
    [[nodiscard]] std::filesystem::path find() const;

    Words arguments;
    std::shared_future<Outcome> outcome;
    std::filesystem::path process;
};
