// What the kernels reach on this processor, beside what it could do.

#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "array_table.h"
#include "operation_table.h"
#include "peers.h"
#include "processor_limits.h"
#include "worker_impl/frequency.h"

namespace {

using bench::ArrayRow, bench::OperationRow;

struct Options {
    std::uint32_t cpu = 0;
    std::uint32_t rounds = 40;
    std::string jsonFile;
    bool peers = false;
};

bool pinTo(std::uint32_t cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return sched_setaffinity(0, sizeof set, &set) == 0;
}

/// The memory of all rows: filled once, so that its pages exist.
std::span<std::byte> mapMemory(const std::vector<ArrayRow>& rows) {
    const std::size_t size = std::ranges::max_element(rows, {}, &ArrayRow::size)->size;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("cannot map " + std::to_string(size) + " bytes");
    std::memset(memory, 0xFF, size);
    return {static_cast<std::byte*>(memory), size};
}

/// All rows once a round, round after round, so that a slow spell of the machine meets all alike.
template <class Row, class Sample>
void sampleInRounds(std::vector<Row>& rows, std::uint32_t rounds, Sample sample) {
    const bool terminal = isatty(STDERR_FILENO) != 0;
    for (std::uint32_t round = 1; round <= rounds; ++round) {
        if (terminal)
            std::fprintf(stderr, "\rround %u of %u", round, rounds);
        for (Row& row : rows)
            sample(row);
    }
    if (terminal)
        std::fprintf(stderr, "\r\x1b[K");
}

std::string sizeText(std::uint32_t size) {
    return size >= 1u << 20 ? std::to_string(size >> 20) + " MiB"
                            : std::to_string(size >> 10) + " KiB";
}

/// The figure, or what stands for one that does not exist.
std::string figure(const std::optional<double>& value, int decimals, const char* missing) {
    if (!value)
        return missing;
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, *value);
    return text;
}

void printTable(const std::vector<ArrayRow>& rows) {
    std::printf("%-26s %4s %6s %8s %8s %8s %8s %6s %8s\n", "kernel", "word", "stride", "size",
                "B/cycle", "net", "limit", "share", "GB/s");
    for (const ArrayRow& row : rows) {
        const auto share =
            row.limit ? std::optional(100 * row.bytesPerCycle / *row.limit) : std::nullopt;
        std::printf("%-26s %4u %6u %8s %8.1f %8s %8s %6s %8.1f\n", row.kernel->name.data(),
                    row.kernel->word, row.stride, sizeText(row.size).c_str(), row.bytesPerCycle,
                    figure(row.netBytesPerCycle(), 1, "-").c_str(),
                    figure(row.limit, 0, "unknown").c_str(), figure(share, 1, "-").c_str(),
                    row.gigabytesPerSecond);
    }
}

void printArithmetic(const std::vector<OperationRow>& rows) {
    std::printf("\n%-30s %9s %8s %6s %9s\n", "kernel", "ins/cycle", "limit", "share", "ops/cycle");
    for (const OperationRow& row : rows) {
        const double rate = 1 / row.cyclesPerOperation();
        const auto share = row.limit ? std::optional(100 * rate / *row.limit) : std::nullopt;
        std::printf("%-30s %9.3f %8s %6s %9.2f\n", row.kernel.c_str(), rate,
                    figure(row.limit, 2, "unknown").c_str(), figure(share, 1, "-").c_str(),
                    rate * row.flopsPerOperation);
    }
}

void printLatencies(const std::vector<OperationRow>& rows) {
    std::printf("\n%-22s %-24s %12s %8s %11s\n", "kernel", "work", "cycles each", "median",
                "plain loop");
    for (const OperationRow& row : rows)
        std::printf("%-22s %-24s %12.3f %8.3f %11s\n", row.kernel.c_str(), row.work.c_str(),
                    row.cyclesPerOperation(), row.medianPerOperation(),
                    figure(row.plainCyclesPerOperation(), 3, "-").c_str());
}

nlohmann::json numberOrNull(const std::optional<double>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json toJson(const bench::Processor& processor, const std::vector<ArrayRow>& rows,
                      const std::vector<OperationRow>& arithmetic,
                      const std::vector<OperationRow>& latencies, double ticksPerSecond) {
    nlohmann::json all;
    for (const ArrayRow& row : rows) {
        nlohmann::json& one = all["array"].emplace_back();
        one["kernel"] = row.kernel->name;
        one["word"] = row.kernel->word;
        one["stride"] = row.stride;
        one["size"] = row.size;
        one["bytesPerCycle"] = row.bytesPerCycle;
        one["netBytesPerCycle"] = numberOrNull(row.netBytesPerCycle());
        one["limit"] = numberOrNull(row.limit);
        one["gigabytesPerSecond"] = row.gigabytesPerSecond;
    }
    for (const OperationRow& row : arithmetic) {
        nlohmann::json& one = all["arithmetic"].emplace_back();
        one["kernel"] = row.kernel;
        one["instructionsPerCycle"] = 1 / row.cyclesPerOperation();
        one["limit"] = numberOrNull(row.limit);
        one["flopsPerInstruction"] = row.flopsPerOperation;
    }
    for (const OperationRow& row : latencies) {
        nlohmann::json& one = all["latency"].emplace_back();
        one["kernel"] = row.kernel;
        one["work"] = row.work;
        one["cyclesPerOperation"] = row.cyclesPerOperation();
        one["medianCyclesPerOperation"] = row.medianPerOperation();
        one["plainCyclesPerOperation"] = numberOrNull(row.plainCyclesPerOperation());
    }
    all["processor"] = processor.brand;
    all["counterHz"] = ticksPerSecond;
    all["addressBits"] = sizeof(void*) * 8;
    return all;
}

int runBenchmark(const Options& options) {
    if (!pinTo(options.cpu))
        throw std::runtime_error("cannot pin to CPU " + std::to_string(options.cpu));
    const bench::Processor processor = bench::thisProcessor();
    const auto ticksPerSecond = static_cast<double>(Kestrel::measureFrequency());
    std::vector<ArrayRow> rows = bench::arrayRows(processor.limits);

    std::printf("%s, CPU %u, %zu-bit build, counter at %.0f MHz\n", processor.brand.c_str(),
                options.cpu, sizeof(void*) * 8, ticksPerSecond / 1e6);
    const std::span<std::byte> memory = mapMemory(rows);
    if (options.peers) {
        bench::comparePeers(memory, ticksPerSecond);
        return 0;
    }
    sampleInRounds(rows, options.rounds,
                   [&](ArrayRow& row) { bench::sampleArray(row, memory, ticksPerSecond); });
    printTable(rows);
    std::vector<OperationRow> arithmetic = bench::arithmeticRows(processor.arithmetic);
    sampleInRounds(arithmetic, options.rounds, [](OperationRow& row) { row.sample(); });
    printArithmetic(arithmetic);
    std::vector<OperationRow> latencies = bench::latencyRows(memory, options.cpu);
    sampleInRounds(latencies, options.rounds, [](OperationRow& row) { row.sample(); });
    printLatencies(latencies);
    if (!options.jsonFile.empty()) {
        std::ofstream file(options.jsonFile);
        file << toJson(processor, rows, arithmetic, latencies, ticksPerSecond).dump(4) << std::endl;
        if (!file)
            throw std::runtime_error("cannot write " + options.jsonFile);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        CLI::App app("What the kernels reach on this processor, beside what it could do.");
        app.add_option("--cpu", options.cpu, "CPU to measure on")
            ->check(CLI::Range(0, CPU_SETSIZE - 1))
            ->capture_default_str();
        app.add_option("--rounds", options.rounds, "samples of each row; the best is shown")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
        app.add_option("--json", options.jsonFile, "also write the figures to this file");
        app.add_flag("--peers", options.peers,
                     "instead, run other benchmarks that are installed in turn with the same work")
            ->excludes("--cpu");
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& failure) {
            return app.exit(failure);
        }
        return runBenchmark(options);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kestrel-bench: %s\n", failure.what());
        return 1;
    }
}
