// What the kernels reach on this processor, beside what it could do.

#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "array_table.h"
#include "processor_limits.h"
#include "worker_impl/frequency.h"

namespace {

using bench::ArrayRow;

struct Options {
    std::uint32_t cpu = 0;
    std::uint32_t rounds = 40;
    std::string jsonFile;
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
void sampleInRounds(std::vector<ArrayRow>& rows, std::uint32_t rounds, double ticksPerSecond) {
    const std::span<std::byte> memory = mapMemory(rows);
    const bool terminal = isatty(STDERR_FILENO) != 0;
    for (std::uint32_t round = 1; round <= rounds; ++round) {
        if (terminal)
            std::fprintf(stderr, "\rround %u of %u", round, rounds);
        for (ArrayRow& row : rows)
            bench::sampleArray(row, memory, ticksPerSecond);
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

nlohmann::json numberOrNull(const std::optional<double>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json toJson(const bench::Processor& processor, const std::vector<ArrayRow>& rows,
                      double ticksPerSecond) {
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
    all["processor"] = processor.brand;
    all["counterHz"] = ticksPerSecond;
    all["addressBits"] = sizeof(void*) * 8;
    return all;
}

int bench_main(const Options& options) {
    if (!pinTo(options.cpu))
        throw std::runtime_error("cannot pin to CPU " + std::to_string(options.cpu));
    const bench::Processor processor = bench::thisProcessor();
    const auto ticksPerSecond = static_cast<double>(Kestrel::measureFrequency());
    std::vector<ArrayRow> rows = bench::arrayRows(processor.limits);

    std::printf("%s, CPU %u, %zu-bit build, counter at %.0f MHz\n", processor.brand.c_str(),
                options.cpu, sizeof(void*) * 8, ticksPerSecond / 1e6);
    sampleInRounds(rows, options.rounds, ticksPerSecond);
    printTable(rows);
    if (!options.jsonFile.empty()) {
        std::ofstream file(options.jsonFile);
        file << toJson(processor, rows, ticksPerSecond).dump(4) << std::endl;
        if (!file)
            throw std::runtime_error("cannot write " + options.jsonFile);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("What the kernels reach on this processor, beside what it could do.");
    app.add_option("--cpu", options.cpu, "CPU to measure on")->capture_default_str();
    app.add_option("--rounds", options.rounds, "samples of each row; the best is shown")
        ->capture_default_str();
    app.add_option("--json", options.jsonFile, "also write the figures to this file");
    CLI11_PARSE(app, argc, argv);
    try {
        return bench_main(options);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kestrel-bench: %s\n", failure.what());
        return 1;
    }
}
