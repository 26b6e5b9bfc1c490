// What the kernels reach on this processor, beside what it could do.

#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "peers.h"
#include "processor/identity.h"
#include "table.h"
#include "worker_impl/frequency.h"
#include "worker_impl/pin.h"

namespace {

struct Options {
    std::uint32_t cpu = 0;
    std::uint32_t rounds = 40;
    std::string jsonFile;
    bool peers = false;
};

/// The memory of all tables, filled once, so that its pages exist.
std::span<std::byte> mapMemory() {
    void* const memory = mmap(nullptr, bench::memorySize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("cannot map " + std::to_string(bench::memorySize) + " bytes");
    std::memset(memory, 0xFF, bench::memorySize);
    return {static_cast<std::byte*>(memory), bench::memorySize};
}

using Tables = std::vector<std::unique_ptr<bench::Table>>;

void sampleInRounds(const Tables& tables, std::uint32_t rounds) {
    const bool terminal = isatty(STDERR_FILENO) != 0;
    for (std::uint32_t round = 1; round <= rounds; ++round)
        for (const auto& table : tables) {
            if (terminal)
                std::fprintf(stderr, "\rround %u of %u: %s\x1b[K", round, rounds, table->name());
            table->sample();
        }
    if (terminal)
        std::fprintf(stderr, "\r\x1b[K");
}

void writeJson(std::ostream& file, const Tables& tables, const bench::Context& context) {
    nlohmann::ordered_json all;
    all["processor"] = processor::brandText();
    all["source of the limits"] =
        context.limits ? nlohmann::ordered_json(context.limits->source) : nlohmann::ordered_json();
    all["cpu"] = context.cpu;
    all["address bits"] = sizeof(void*) * 8;
    all["counter Hz"] = context.ticksPerSecond;
    for (const auto& table : tables)
        all[table->name()] = table->rows();
    file << all.dump(4) << std::endl;
}

int runBenchmark(const Options& options) {
    if (!Kestrel::pinThread(options.cpu))
        throw std::runtime_error("cannot pin to CPU " + std::to_string(options.cpu));
    const bench::Context context{
        .cpu = options.cpu,
        .ticksPerSecond = static_cast<double>(Kestrel::measureFrequency()),
        .memory = mapMemory(),
        .limits = processor::limitsOf(processor::readSignature()),
    };
    std::printf("%s, CPU %u, %zu-bit build, counter at %.0f MHz\nlimits: %s\n",
                processor::brandText().c_str(), context.cpu, sizeof(void*) * 8,
                context.ticksPerSecond / 1e6,
                context.limits ? context.limits->source : "unknown for this processor");
    if (options.peers) {
        bench::comparePeers(context.memory, context.ticksPerSecond);
        return 0;
    }
    // Opened first: after a minute it is too late to say that the figures cannot be kept.
    std::ofstream json;
    if (!options.jsonFile.empty())
        json.open(options.jsonFile);
    if (!json)
        throw std::runtime_error("cannot write " + options.jsonFile);
    Tables tables;
    for (const auto make :
         {bench::makeArrayTable, bench::makeFlopTable, bench::makeListTable, bench::makeShareTable})
        tables.push_back(make(context));
    sampleInRounds(tables, options.rounds);
    for (const auto& table : tables)
        bench::print(*table);
    if (json.is_open())
        writeJson(json, tables, context);
    if (!json)
        throw std::runtime_error("cannot write " + options.jsonFile);
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
            ->check(CLI::Range(1, 1000000))
            ->capture_default_str();
        app.add_option("--json", options.jsonFile, "also write the figures to this file");
        app.add_flag("--peers", options.peers,
                     "instead, run other benchmarks that are installed in turn with the same work")
            ->excludes("--cpu")
            ->excludes("--rounds")
            ->excludes("--json");
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
