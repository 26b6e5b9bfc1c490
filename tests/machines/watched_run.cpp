#include "watched_run.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string contentOf(const fs::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

namespace {

/// What stands behind `key` up to the next blank.
std::string fieldOf(const std::string& text, const std::string& key) {
    const std::size_t at = text.find(key);
    std::string value;
    if (at != std::string::npos)
        std::istringstream(text.substr(at + key.size())) >> value;
    return value;
}

/// A field of /proc/PID/stat, whose second one, a name, may hold blanks.
std::string statField(const std::string& stat, int number) {
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string value;
    for (int field = 3; field <= number; ++field)
        fields >> value;
    return value;
}

long pagesOf(const std::vector<PagesByNode>& arrays) {
    long sum = 0;
    for (const PagesByNode& array : arrays)
        for (const auto& [node, pages] : array)
            sum += pages;
    return sum;
}

}  // namespace

std::vector<PagesByNode> arraysOf(const fs::path& process) {
    std::vector<PagesByNode> arrays;
    std::ifstream maps(process / "numa_maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(" interleave:") == std::string::npos)
            continue;
        PagesByNode& pages = arrays.emplace_back();
        std::istringstream words(line);
        unsigned node = 0;
        long count = 0;
        for (std::string word; words >> word;)
            if (std::sscanf(word.c_str(), "N%u=%ld", &node, &count) == 2)
                pages[node] = count;
    }
    return arrays;
}

WatchedRun::WatchedRun(const Words& arguments)
    : arguments(arguments),
      outcome(std::async(std::launch::async, [arguments] { return runProgram(arguments); })) {}

fs::path WatchedRun::find() const {
    std::string wanted(KESTREL_PROGRAM);
    for (const std::string& argument : arguments)
        wanted += '\0' + argument;
    for (const auto& entry : fs::directory_iterator("/proc"))
        if (contentOf(entry.path() / "cmdline") == wanted + '\0')
            return entry.path();
    return {};
}

void WatchedRun::waitForPages(long pages) {
    while (process.empty() || pagesOf(arrays()) < pages) {
        ASSERT_TRUE(outcome.wait_for(50ms) == std::future_status::timeout)
            << testing::PrintToString(arguments) << " ended with " << pagesOf(arrays()) << " of "
            << pages << " pages: " << outcome.get().output;
        if (process.empty())
            process = find();
    }
}

long WatchedRun::hugeKibibytes() const {
    long sum = 0;
    std::istringstream(fieldOf(contentOf(process / "smaps_rollup"), "AnonHugePages:")) >> sum;
    return sum;
}

std::multiset<long> WatchedRun::workerCpus() const {
    std::multiset<long> cpus;
    for (const auto& thread : fs::directory_iterator(process / "task")) {
        if (thread.path().filename() == process.filename())
            continue;  // the driver
        const std::string ranOn = statField(contentOf(thread.path() / "stat"), 39);
        EXPECT_EQ(ranOn, fieldOf(contentOf(thread.path() / "status"), "Cpus_allowed_list:"));
        cpus.insert(std::strtol(ranOn.c_str(), nullptr, 10));
    }
    return cpus;
}
