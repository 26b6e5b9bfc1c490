#include "machine/page.h"

#include <array>
#include <iomanip>
#include <locale>
#include <map>
#include <sstream>

#include "machine/text.h"

namespace machine {

namespace {

const std::string unknown = "unknown";

std::string textOf(const std::optional<std::string>& text) {
    return text ? printable(*text) : unknown;
}

template <std::unsigned_integral Number>
std::string textOf(const std::optional<Number>& number) {
    return number ? std::to_string(*number) : unknown;
}

std::string textOf(const std::optional<NumberList>& list) {
    return !list ? unknown : list->empty() ? "none" : listText(*list);
}

std::string onOff(std::optional<bool> value) {
    return !value ? unknown : *value ? "on" : "off";
}

/// With as many decimals as it takes, at most three.
std::string numberText(double number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(3) << number;
    std::string digits = text.str();
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.')
        digits.pop_back();
    return digits;
}

/// A size in the largest of the units that divides it, as caches and pages are described.
std::string exactSize(std::optional<std::uint64_t> bytes) {
    if (!bytes)
        return unknown;
    const char* unit = " bytes";
    for (const char* larger : {" KiB", " MiB", " GiB"}) {
        if (*bytes % 1024 != 0 || *bytes == 0)
            break;
        *bytes /= 1024;
        unit = larger;
    }
    return std::to_string(*bytes) + unit;
}

/// A size in MiB, rounded down: of memory.
std::string mebibytes(std::optional<std::uint64_t> bytes) {
    return bytes ? std::to_string(*bytes >> 20) + " MiB" : unknown;
}

std::string megahertz(std::uint64_t hertz) {
    return numberText(static_cast<double>(hertz) / 1e6) + " MHz";
}

class Page {
  public:
    void line(std::string_view label, std::string_view text) {
        out << std::left << std::setw(24) << label << (label.size() < 24 ? "" : "  ") << text
            << '\n';
    }
    void heading(std::string_view text) { out << '\n' << text << '\n'; }
    /// Columns aligned to the right, each as wide as its widest cell.
    void table(const std::vector<std::vector<std::string>>& rows) {
        std::vector<std::size_t> widths;
        for (const auto& row : rows) {
            widths.resize(std::max(widths.size(), row.size()));
            for (std::size_t i = 0; i < row.size(); ++i)
                widths[i] = std::max(widths[i], row[i].size());
        }
        for (const auto& row : rows) {
            for (std::size_t i = 0; i < row.size(); ++i)
                out << "  " << std::right << std::setw(static_cast<int>(widths[i])) << row[i];
            out << '\n';
        }
    }
    [[nodiscard]] std::string text() const { return out.str(); }

  private:
    std::ostringstream out;
};

void addSystem(Page& page, const System& system) {
    page.line("operating system", textOf(system.operatingSystem));
    page.line("kernel", textOf(system.kernelRelease));
    std::string parameters;
    for (const std::string& word : system.kernelParameters.value_or(std::vector<std::string>()))
        parameters += (parameters.empty() ? "" : " ") + printable(word);
    page.line("kernel parameters", !system.kernelParameters ? unknown
                                   : parameters.empty()     ? "none that matter"
                                                            : parameters);
    page.line("architecture", textOf(system.architecture));
    page.line("host name", textOf(system.hostName));
    page.line("hypervisor", textOf(system.hypervisor));
    page.line("boot id", textOf(system.bootId));
    page.line("clock source", textOf(system.clockSource));
    page.line("isolated CPUs", textOf(system.isolatedCpus));
}

std::string signatureText(const Processor& processor) {
    if (!processor.family)
        return unknown;
    return "family " + textOf(processor.family) + ", model " + textOf(processor.model) +
           ", stepping " + textOf(processor.stepping);
}

std::string nominalText(const std::optional<NominalFrequency>& frequency) {
    if (!frequency)
        return unknown;
    constexpr std::array sources{"from the brand text", "from CPUID leaf 0x16",
                                 "from /proc/cpuinfo, the present clock"};
    return megahertz(frequency->hertz) + "  " +
           sources[static_cast<std::size_t>(frequency->source)];
}

std::string counterText(const Processor& processor) {
    std::string text = processor.counterHz ? megahertz(*processor.counterHz) : unknown;
    if (processor.counterInvariant)
        text += *processor.counterInvariant ? "  invariant" : "  not invariant";
    return text;
}

std::string setsText(const std::optional<InstructionSets>& sets) {
    if (!sets)
        return unknown;
    std::string text;
    for (const auto& [present, name] :
         {std::pair(sets->avx, "avx"), std::pair(sets->avx2, "avx2"), std::pair(sets->fma, "fma"),
          std::pair(sets->avx512f, "avx512f")})
        if (present)
            text += (text.empty() ? "" : " ") + std::string(name);
    return text.empty() ? "none of avx, avx2, fma, avx512f" : text;
}

void addProcessor(Page& page, const Processor& processor) {
    page.heading("processor");
    page.line("name", textOf(processor.name));
    page.line("vendor", textOf(processor.vendor));
    page.line("signature", signatureText(processor));
    page.line("microcode", textOf(processor.microcode));
    page.line("nominal frequency", nominalText(processor.nominalFrequency));
    page.line("counter frequency", counterText(processor));
    page.line("instruction sets", setsText(processor.instructionSets));
    const auto version = processor.performanceMonitoringVersion;
    page.line("performance monitoring", version == 0u ? "none"
                                        : version     ? "version " + textOf(version)
                                                      : unknown);
}

void addVulnerabilities(Page& page, const std::map<std::string, std::string>& vulnerabilities) {
    page.heading("known faults of the processor");
    if (vulnerabilities.empty())
        page.line("faults", unknown);
    bool anyAffects = vulnerabilities.empty();
    for (const auto& [name, words] : vulnerabilities) {
        if (words == "Not affected")
            continue;
        anyAffects = true;
        page.line(printable(name), printable(words));
    }
    if (!anyAffects)
        page.line("faults", "not affected by any");
}

void addPower(Page& page, const Power& power) {
    page.heading("clocks");
    page.line("scaling driver", textOf(power.scalingDriver));
    if (power.governors.empty())
        page.line("governor", unknown);
    for (const Governor& governor : power.governors)
        page.line("governor", printable(governor.name) + "  of CPUs " + listText(governor.cpus));
    page.line("boost", onOff(power.boost));
    page.line("SMT control", textOf(power.smtControl));
}

void addLimits(Page& page, const Limits& limits) {
    page.heading("allowed to this process");
    page.line("CPUs", textOf(limits.cpus));
    page.line("nodes", textOf(limits.nodes));
    std::string quota = unknown;
    if (limits.quota)
        quota = limits.quota->cpus ? "that of " + numberText(*limits.quota->cpus) + " CPUs"
                                   : "not limited";
    page.line("CPU time", quota);
    std::string memory = unknown;
    if (limits.memory)
        memory = limits.memory->bytes ? mebibytes(limits.memory->bytes) : "no limit seen";
    page.line("memory", memory);
}

std::string poolText(const HugePagePool& pool) {
    return textOf(pool.freePages) + " free of " + textOf(pool.pages);
}

void addMemory(Page& page, const Memory& memory) {
    page.heading("memory");
    page.line("total", mebibytes(memory.totalBytes));
    page.line("available", mebibytes(memory.availableBytes));
    page.line("page size", exactSize(memory.pageBytes));
    for (const HugePagePool& pool : memory.hugePages)
        page.line("pages of " + exactSize(pool.pageBytes), poolText(pool));
    page.line("transparent huge pages", textOf(memory.transparentHugePages) + ", defrag " +
                                            textOf(memory.transparentHugePagesDefrag));
    page.line("swap", mebibytes(memory.swapUsedBytes) + " used of " +
                          mebibytes(memory.swapTotalBytes) + ", swappiness " +
                          textOf(memory.swappiness));
    page.line("NUMA balancing", onOff(memory.numaBalancing));
    std::string modules = unknown;
    if (memory.modules) {
        modules = std::to_string(memory.modules->count);
        if (const auto speed = memory.modules->transfersPerSecond)
            modules += ", " + std::to_string(*speed / 1'000'000) + " million transfers a second";
    }
    page.line("modules", modules);
}

void addNodes(Page& page, const std::vector<Node>& nodes) {
    page.heading("NUMA nodes");
    if (nodes.empty()) {
        page.line("nodes", unknown);
        return;
    }
    std::vector<std::vector<std::string>> rows{{"node", "CPUs", "memory", "free", "distances"}};
    for (const HugePagePool& pool : nodes.front().hugePages)
        rows.front().push_back("pages of " + exactSize(pool.pageBytes));
    for (const Node& node : nodes) {
        std::string distances;
        for (const unsigned distance : node.distances)
            distances += (distances.empty() ? "" : " ") + std::to_string(distance);
        rows.push_back({std::to_string(node.number), textOf(std::optional(node.cpus)),
                        mebibytes(node.memoryBytes), mebibytes(node.freeBytes),
                        distances.empty() ? unknown : distances});
        for (const HugePagePool& pool : node.hugePages)
            rows.back().push_back(poolText(pool));
    }
    page.table(rows);
}

/// The CPUs of each of some like caches; their number instead where they are many.
std::string sharersText(const std::vector<const Cache*>& caches) {
    constexpr std::size_t most = 8;
    std::string text;
    for (const Cache* cache : caches)
        text += (text.empty() ? "" : " | ") + listText(cache->cpus);
    if (caches.front()->cpus.empty())
        return "not told";
    return caches.size() <= most ? text
                                 : std::to_string(caches.front()->cpus.size()) + " each, such as " +
                                       listText(caches.front()->cpus);
}

void addCaches(Page& page, const Facts& facts) {
    constexpr std::array types{"data", "instruction", "unified"};
    page.heading("caches");
    std::vector<std::vector<std::string>> rows{
        {"level", "type", "size", "ways", "line", "number", "CPUs"}};
    // Like ones on one line.
    std::map<std::vector<std::string>, std::vector<const Cache*>> kinds;
    for (const Cache& cache : facts.caches)
        kinds[{std::to_string(cache.level), types[static_cast<std::size_t>(cache.type)],
               exactSize(cache.bytes), textOf(cache.ways), exactSize(cache.lineBytes),
               std::to_string(cache.cpus.size())}]
            .push_back(&cache);
    for (const auto& [kind, caches] : kinds) {
        rows.push_back(kind);
        rows.back().back() = caches.front()->cpus.empty() ? unknown : std::to_string(caches.size());
        rows.back().push_back(sharersText(caches));
    }
    if (kinds.empty())
        page.line("caches", unknown);
    else
        page.table(rows);
    if (const auto& record = facts.lastLevelRecord)
        page.line("last by CPUID leaf 4",
                  "level " + std::to_string(record->level) + ", " + exactSize(record->bytes));
}

void addTopology(Page& page, const Topology& topology) {
    page.heading("CPUs");
    page.line("packages", textOf(topology.packages));
    page.line("cores", textOf(topology.cores));
    page.line("threads", topology.onlineTold ? std::to_string(topology.cpus.size())
                                             : unknown + ", these CPUs were seen:");
    page.line("present", textOf(topology.present));
    page.line("offline", textOf(topology.offline));
    std::vector<std::vector<std::string>> rows{
        {"cpu", "package", "die", "cluster", "core", "thread", "node", "apic id", "allowed"}};
    for (const Cpu& cpu : topology.cpus)
        rows.push_back({std::to_string(cpu.number), textOf(cpu.package), textOf(cpu.die),
                        textOf(cpu.cluster), textOf(cpu.core), textOf(cpu.thread), textOf(cpu.node),
                        textOf(cpu.apicId),
                        !cpu.allowed   ? unknown
                        : *cpu.allowed ? "yes"
                                       : "no"});
    if (!topology.cpus.empty())
        page.table(rows);
}

}  // namespace

std::string page(const Facts& facts) {
    Page page;
    addSystem(page, facts.system);
    addProcessor(page, facts.processor);
    addVulnerabilities(page, facts.processor.vulnerabilities);
    addPower(page, facts.power);
    addMemory(page, facts.memory);
    addNodes(page, facts.nodes);
    addCaches(page, facts);
    addLimits(page, facts.limits);
    addTopology(page, facts.topology);
    return page.text();
}

}  // namespace machine
