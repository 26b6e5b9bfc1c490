// Where the kernel puts the program's pages and threads, on machines with many nodes, and what the
// program says of nodes and CPUs that are not to be had.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

#include "crew.h"
#include "mask.h"
#include "patterns/array_patterns.h"
#include "watched_run.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr long mebibyte = 256;  // pages

void write(const fs::path& file, const std::string& text) {
    EXPECT_TRUE(std::ofstream(file) << text << std::flush) << file << ": " << text;
}

/// Transparent huge pages: "always" or "never".
void setHugePages(const char* when) {
    write("/sys/kernel/mm/transparent_hugepage/enabled", when);
}

/// Expects all of those pages on the nodes of the list, in shares that differ by at most `step`.
void expectShares(const PagesByNode& array, const std::string& nodeList, long pages, long step) {
    std::vector<unsigned> nodes;
    ASSERT_EQ(Kestrel::parseMask(nodeList, nodes), Kestrel::meOk);
    long least = pages, most = 0, sum = 0;
    for (const unsigned node : nodes) {
        const auto share = array.find(node);
        const long count = share == array.end() ? 0 : share->second;
        least = std::min(least, count);
        most = std::max(most, count);
        sum += count;
    }
    EXPECT_TRUE(sum == pages && most - least <= step)
        << pages << " pages asked for on " << nodeList << ": " << testing::PrintToString(array);
}

/// Runs two workers over an array each and two over one array, at the same time, looks at them
/// while they measure, and expects their pages in equal shares. Returns the KiB that are in huge
/// pages.
long expectPlacement(const std::string& nodeList, long size, long step) {
    const long last = sysconf(_SC_NPROCESSORS_ONLN) - 1;
    const auto start = [&](const char* pattern, long first, long second) {
        return WatchedRun({"-d2", "-w64", "-s64", "-p", pattern, "-n", nodeList, "-c",
                           std::to_string(first) + "," + std::to_string(second), "-S",
                           std::to_string(size / mebibyte) + "M"});
    };
    WatchedRun own = start("a-l", 0, last), shared = start("s-a", last, 0);
    own.waitForPages(2 * size);
    shared.waitForPages(size);
    std::this_thread::sleep_for(1500ms);  // of three until they stop measuring; one warms them up
    EXPECT_EQ(own.arrays().size(), 2u);
    EXPECT_EQ(shared.arrays().size(), 1u);
    long huge = 0;
    for (WatchedRun* const run : {&own, &shared}) {
        for (const PagesByNode& array : run->arrays())
            expectShares(array, nodeList, size, step);
        EXPECT_EQ(run->workerCpus(), (std::multiset<long>{0, last}));
        huge += run->hugeKibibytes();
    }
    EXPECT_EQ(own.wait().status, 0);
    EXPECT_EQ(shared.wait().status, 0);
    return huge;
}

TEST(Placement, SharesSmallPagesEqually) {
    setHugePages("never");
    for (const char* nodeList : {"0", "1", "0-1", "1,0"})
        EXPECT_EQ(expectPlacement(nodeList, 9 * mebibyte, 1), 0);
}

TEST(Placement, SharesHugePagesEqually) {
    setHugePages("always");
    EXPECT_GT(expectPlacement("0-1", 9 * mebibyte, 2 * mebibyte), 0);
}

// Interleaving is no strict policy: the kernel takes other nodes without a word.
TEST(Placement, SpillsFromAFullNodeAndGoesOn) {
    setHugePages("never");
    const std::string node = contentOf("/sys/devices/system/node/node1/meminfo");
    const long total = std::stol(node.substr(node.find("MemTotal:") + 9)) / 1024 + 64;  // MiB
    WatchedRun run({"-d1", "-w64", "-s64", "-c3", "-n1", "-S", std::to_string(total) + "M"});
    run.waitForPages(total * mebibyte);
    ASSERT_EQ(run.arrays().size(), 1u);
    EXPECT_GE(run.arrays().front()[0], 64 * mebibyte);
    EXPECT_EQ(run.wait().status, 0);
}

// The pool of 2 MiB pages is node 0's alone, and here, too, the kernel takes what there is.
TEST(Placement, IsToldByTheCrew) {
    constexpr std::uint32_t size = 8 << 20, pages = size / 4096;
    const auto placed = [](unsigned long nodes, Kestrel::PageKind kind) {
        Kestrel::ArrayLPattern pattern(Kestrel::wc64, 64, 1);
        Kestrel::Crew crew({.pattern = &pattern,
                            .cpus = {0, 2},
                            .arraySize = size,
                            .nodes = nodes,
                            .pages = kind});
        EXPECT_EQ(crew.assemble().cause, Kestrel::CrewFailure::none);
        crew.runOnce();
        return crew.placement();
    };
    for (const unsigned long nodes : {1, 2, 3}) {
        EXPECT_EQ(placed(nodes, Kestrel::pk4K).elsewhere(nodes), 0u);
        EXPECT_EQ(placed(nodes, Kestrel::pk2M).onNode.at(0), 2 * pages) << "nodes " << nodes;
    }
    EXPECT_EQ(placed(2, Kestrel::pk2M).elsewhere(2), 2 * pages);
}

TEST(Placement, RefusesWhatIsNotThere) {
    for (const char* nodeList : {"2", "0,2", "31"})
        expectRun({"-d0", "-n", nodeList}, 255, "No memory\n");
    for (const char* cpuList : {"4", "0,4"})
        expectRun({"-d0", "-c", cpuList}, 255, "Worker creation error\n");
}

// Only CPUs 0 and 1 and node 0 are allowed.
TEST(Placement, RefusesWhatItsCpusetExcludes) {
    const fs::path all = "/tmp/cgroups", some = all / "some";
    fs::create_directory(all);
    ASSERT_EQ(mount("none", all.c_str(), "cgroup2", 0, nullptr), 0);
    write(all / "cgroup.subtree_control", "+cpuset");
    fs::create_directory(some);
    write(some / "cpuset.cpus", "0-1");
    write(some / "cpuset.mems", "0");
    write(some / "cgroup.procs", "0");
    expectRun("-d0 -n0 -c0,1"_words, 0, "");
    for (const char* nodeList : {"1", "0-1"})
        expectRun({"-d0", "-n", nodeList}, 255, "No memory\n");
    for (const char* cpuList : {"2", "0,2"})
        expectRun({"-d0", "-c", cpuList}, 255, "Worker creation error\n");
    write(all / "cgroup.procs", "0");
}

// Node 1 of this machine has a CPU, but no memory.
TEST(ManyNodes, TakePagesUpToTheLast) {
    setHugePages("never");
    for (const char* nodeList : {"31", "0,31", "0,2-31"})
        expectPlacement(nodeList, 4 * mebibyte, 1);
    for (const char* nodeList : {"1", "0,1"})
        expectRun({"-d0", "-n", nodeList}, 255, "No memory\n");
    expectRun("-d0 -n32"_words, 255, "Node mask conversion error\n");
}

// CPU 2 of this machine.
TEST(Offline, CpuIsRefused) {
    expectRun("-d0 -c1,3"_words, 0, "");
    for (const char* cpuList : {"2", "1-3"})
        expectRun({"-d0", "-c", cpuList}, 255, "Worker creation error\n");
}

}  // namespace
