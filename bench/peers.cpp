#include "peers.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "array_table.h"
#include "kestrel/kernels.h"
#include "table.h"

namespace bench {
namespace {

using Kestrel::ArrayShape;

struct ArrayWork {
    ArrayShape shape;
    std::uint32_t word, size;  ///< bytes
};

struct FlopWork {
    Kestrel::FlopPrecision precision;
    std::uint32_t lanes;
    Kestrel::FlopOperation operation;
};

struct Peer {
    const char* name;
    const char* command;     ///< for the shell; runs on the CPU that this program is pinned to
    const char* expression;  ///< an extended POSIX expression whose first group is the figure
    double unit;             ///< of the figure, in bytes or operations a second
    std::variant<ArrayWork, FlopWork> work;
    const char* counts;  ///< what the peer and what kestrel's kernel counts
};

constexpr double mega = 1e6, giga = 1e9;

#define LIKWID(test, size) "likwid-bench -t " test " -w S0:" size ":1 -s 1"
#define LIKWID_BYTES "MByte/s:[[:space:]]*([0-9.]+)"
#define LIKWID_FLOPS "MFlops/s:[[:space:]]*([0-9.]+)"

constexpr const char* bothCountLoads = "both count the bytes loaded";
constexpr const char* copyCounts =
    "the peer counts one load and one store for each element, kestrel two loads and one store";
constexpr const char* streamCounts = "both count two loads and one store";
constexpr const char* loadFlops =
    "both count operations; the peer also loads an operand for every few of them";

// For likwid-bench kB and MB are 1000 and 1000 000 bytes.
const Peer peers[] = {
    {"likwid load_avx, 256 kB", LIKWID("load_avx", "256kB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::contiguous, 64, 256000}, bothCountLoads},
    {"likwid load_avx, 8 MB", LIKWID("load_avx", "8MB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::contiguous, 64, 8000000}, bothCountLoads},
    {"likwid load_avx, 512 MB", LIKWID("load_avx", "512MB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::contiguous, 64, 512000000}, bothCountLoads},
    {"likwid sum, 256 kB", LIKWID("sum", "256kB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::contiguous, 8, 256000},
     "both count the bytes loaded; the peer adds them up, too"},
    {"likwid copy_avx, 256 kB", LIKWID("copy_avx", "256kB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::lls, 32, 256000}, copyCounts},
    {"likwid stream_mem_avx_fma, 512 MB", LIKWID("stream_mem_avx_fma", "512MB"), LIKWID_BYTES, mega,
     ArrayWork{ArrayShape::fastmem, 64, 512000000}, streamCounts},
    {"likwid peakflops_avx_fma", LIKWID("peakflops_avx_fma", "16kB"), LIKWID_FLOPS, mega,
     FlopWork{Kestrel::fp_double, 4, Kestrel::fo_fma}, loadFlops},
    {"likwid peakflops_sp_avx_fma", LIKWID("peakflops_sp_avx_fma", "16kB"), LIKWID_FLOPS, mega,
     FlopWork{Kestrel::fp_single, 8, Kestrel::fo_fma}, loadFlops},
    {"stress-ng memrate read256, 512 MiB",
     "stress-ng --memrate 1 --memrate-bytes 512M -t 3 --metrics-brief 2>&1",
     "([0-9.]+) read256 MB per sec", mebibyte,
     ArrayWork{ArrayShape::contiguous, 32, 512 * mebibyte},
     "both count the bytes loaded; the peer's MB is 2^20 bytes"},
    {"sysbench memory read, 256 KiB",
     "sysbench memory --memory-oper=read --memory-block-size=256K --memory-total-size=1000G "
     "--time=1 run",
     "\\(([0-9.]+) MiB/sec\\)", mebibyte, ArrayWork{ArrayShape::contiguous, 8, 256 * kibibyte},
     "both count the bytes loaded; the peer loads general registers, kestrel vector registers, of "
     "which some processors load fewer a cycle"},
    {"mbw memcpy, 256 MiB", "mbw -q -n 3 -t 0 128", "AVG.*Copy: ([0-9.]+) MiB/s", mebibyte,
     ArrayWork{ArrayShape::lls, 64, 256 * mebibyte},
     "the peer counts a copied byte once, kestrel each load and store"},
};

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen(("(" + command + ") 2>/dev/null").c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> buffer;
    while (pipe != nullptr) {
        const std::size_t count = fread(buffer.data(), 1, buffer.size(), pipe.get());
        if (count == 0)
            break;
        text.append(buffer.data(), count);
    }
    return text;
}

/// The number that the expression's first group finds in the text.
std::optional<double> findNumber(const std::string& text, const char* expression) {
    regex_t compiled;
    if (regcomp(&compiled, expression, REG_EXTENDED | REG_NEWLINE) != 0)
        return std::nullopt;
    std::array<regmatch_t, 2> groups;
    const bool found = regexec(&compiled, text.c_str(), groups.size(), groups.data(), 0) == 0;
    regfree(&compiled);
    if (!found)
        return std::nullopt;
    return std::stod(text.substr(static_cast<std::size_t>(groups[1].rm_so)));
}

/// Bytes a second of one turn.
double ownRate(const ArrayWork& work, std::span<std::byte> memory, double ticksPerSecond) {
    const Kestrel::ArrayKernel* const kernel = Kestrel::findArrayKernel(work.shape, work.word);
    // Sizes in thousands of bytes: the last few do not fill a word of every quarter.
    ArrayRow row{kernel, work.word, work.size / 256 * 256};
    for (int i = 0; i < 20; ++i)
        sampleArray(row, memory, ticksPerSecond);
    return row.bytesPerSecond(ticksPerSecond);
}

double ownRate(const FlopWork& work, std::span<std::byte> /*memory*/, double ticksPerSecond) {
    const Kestrel::FlopKernel* const kernel =
        Kestrel::findFlopKernel(work.precision, work.lanes, work.operation);
    constexpr std::uint32_t loops = 100000;
    const double operations =
        static_cast<double>(kernel->flopsPerInstruction()) * kernel->instructionsPerLoop * loops;
    double best = 0;
    for (int i = 0; i < 100; ++i)
        if (const std::uint64_t ticks = kernel->run(loops); ticks != 0)
            best = std::max(best, operations / static_cast<double>(ticks) * ticksPerSecond);
    return best;
}

void compare(const Peer& peer, std::uint32_t turns, std::span<std::byte> memory,
             double ticksPerSecond) {
    std::vector<double> own, others;
    for (std::uint32_t turn = 0; turn < turns; ++turn) {
        own.push_back(std::visit(
            [&](const auto& work) { return ownRate(work, memory, ticksPerSecond); }, peer.work));
        const auto figure = findNumber(outputOf(peer.command), peer.expression);
        if (!figure) {
            std::printf("%-36s gave no figure\n", peer.name);
            return;
        }
        others.push_back(*figure * peer.unit);
    }
    const double best = *std::ranges::max_element(own);
    const double otherBest = *std::ranges::max_element(others);
    std::printf("%-36s %9.2f %9.2f %9.2f %9.2f %7.2f   %s\n", peer.name, best / giga,
                median(own) / giga, otherBest / giga, median(others) / giga, best / otherBest,
                peer.counts);
    std::fflush(stdout);
}

bool installed(const Peer& peer) {
    const std::string command = peer.command;
    return !outputOf("command -v " + command.substr(0, command.find(' '))).empty();
}

}  // namespace

void comparePeers(std::span<std::byte> memory, double ticksPerSecond) {
    constexpr std::uint32_t turns = 5;
    std::printf("\n%-36s %9s %9s %9s %9s %7s   %s\n", "peer, in turn with kestrel", "best",
                "median", "peer best", "median", "ratio",
                "GB/s or 10^9 operations a second; ratio of the best figures");
    for (const Peer& peer : peers) {
        if (installed(peer))
            compare(peer, turns, memory, ticksPerSecond);
        else
            std::printf("%-36s not installed\n", peer.name);
    }
}

}  // namespace bench
