/// Machines recorded as text; recordings/README.md says how.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>

#include "machine/json.h"
#include "tests/tern/recorded.h"
#include "tests/tern/temporary.h"

/// The line once for each number of its list in braces.
inline std::vector<std::string> repeated(const std::string& line) {
    const std::size_t open = line.find('{');
    if (open == std::string::npos)
        return {line};
    const std::size_t length = line.find('}', open) + 1 - open;
    const auto numbers = machine::parseNumberList(line.substr(open + 1, length - 2));
    std::vector<std::string> lines;
    for (const unsigned number : numbers.value()) {
        std::string& one = lines.emplace_back(line).replace(open, length, "{}");
        for (std::size_t at; (at = one.find("{}")) != std::string::npos;)
            one.replace(at, 2, std::to_string(number));
    }
    return lines;
}

/// A recording as files in a folder of its own, and as the answers of CPUID.
struct recorded_machine {
    const std::string root = temporary_folder();

    /// `recording`: its name, or its lines.
    explicit recorded_machine(const std::string& recording) {
        std::ifstream file(RECORDINGS "/" + recording + ".txt");
        std::stringstream lines;
        if (file)
            lines << file.rdbuf();
        else
            lines << recording;
        for (std::string line; std::getline(lines, line);)
            for (const std::string& one : repeated(line))
                record(one, one.find(" = "));
    }
    ~recorded_machine() { std::filesystem::remove_all(root); }
    recorded_machine(const recorded_machine&) = delete;
    recorded_machine& operator=(const recorded_machine&) = delete;

    [[nodiscard]] machine::Facts facts() const {
        return machine::gatherFacts({root, recorded_cpuid, false});
    }

  private:
    void record(const std::string& line, std::size_t equals) const {
        std::uint32_t leaf = 0, subleaf = 0;
        tern_cpuid_block r{};
        if (line.starts_with('#') || equals == std::string::npos)
            return;
        if (std::sscanf(line.c_str(), "cpuid %x.%u = %x %x %x %x", &leaf, &subleaf, &r.eax, &r.ebx,
                        &r.ecx, &r.edx) == 6) {
            recorded_leaves[{leaf, subleaf}] = r;
        } else if (line.starts_with("brand")) {
            record_brand(line.substr(equals + 3));
        } else {
            const std::string folder = line.starts_with('/') ? "" : "/sys/devices/system/";
            const std::filesystem::path path = root + folder + line.substr(0, equals);
            std::filesystem::create_directories(path.parent_path());
            std::ofstream(path, std::ios::app) << unescaped(line.substr(equals + 3)) << '\n';
        }
    }
};

/// The facts as JSON, and what is derived from them for the first CPUs.
inline nlohmann::ordered_json everything(const machine::Facts& facts) {
    constexpr std::array classes{"same core", "same cache", "same package", "other package"};
    nlohmann::ordered_json all = machine::toJson(facts);
    for (unsigned a = 0; a < 8; ++a) {
        const std::string cpu = std::to_string(a);
        for (unsigned b = 0; b < 8; ++b) {
            const auto pair = machine::pairClass(facts, a, b);
            all["class"][cpu + ',' + std::to_string(b)] =
                pair ? classes[static_cast<std::size_t>(*pair)] : "unknown";
        }
        all["last_level"][cpu] = std::to_string(machine::lastLevelBytes(facts, a).value_or(0)) +
                                 " (" + machine::listText(machine::lastLevelSharers(facts, a)) +
                                 ')';
        all["node_of"][cpu] = machine::nodeOf(facts, a).value_or(-1);
    }
    return all;
}
