// What tern-info says of a machine's CPUs, beside two other programs that know.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using Cpus = std::set<unsigned>;

/// The CPUs that are together in something. Programs number cores each in their own way.
struct Topology {
    std::set<Cpus> cores, packages, nodes;
    bool operator==(const Topology&) const = default;
};

void PrintTo(const Topology& topology, std::ostream* out) {
    *out << "cores " << testing::PrintToString(topology.cores) << " packages "
         << testing::PrintToString(topology.packages) << " nodes "
         << testing::PrintToString(topology.nodes);
}

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char buffer[4096];
    while (fgets(buffer, sizeof buffer, pipe.get()) != nullptr)
        output += buffer;
    return output;
}

/// The CPUs of the rows in which all those columns are the same.
std::set<Cpus> grouped(const json& rows, const std::vector<const char*>& columns) {
    std::map<std::string, Cpus> groups;
    for (const json& row : rows) {
        std::string key;
        for (const char* column : columns)
            key += row.at(column).dump() + " ";
        groups[key].insert(row.at("cpu").get<unsigned>());
    }
    std::set<Cpus> all;
    for (const auto& [key, cpus] : groups)
        all.insert(cpus);
    return all;
}

Topology lscpuTopology() {
    const json rows =
        json::parse(outputOf("lscpu --json --online --extended=CPU,CORE,SOCKET,NODE")).at("cpus");
    return {grouped(rows, {"socket", "core"}), grouped(rows, {"socket"}), grouped(rows, {"node"})};
}

/// The CPUs of each object of a type that has any. Each is one element of hwloc's XML text, with
/// its CPUs as a bit set; 32 are enough here.
std::set<Cpus> hwlocGroups(const std::string& xml, const std::string& type) {
    std::set<Cpus> groups;
    const std::string object = "<object type=\"" + type + "\"", bits = " cpuset=\"0x";
    for (std::size_t at = 0; (at = xml.find(object, at)) != std::string::npos; ++at) {
        const std::size_t set = xml.find(bits, at) + bits.size();
        Cpus cpus;
        for (unsigned cpu = 0; cpu < 32; ++cpu)
            if ((std::stoul(xml.substr(set, 8), nullptr, 16) >> cpu & 1) != 0)
                cpus.insert(cpu);
        if (!cpus.empty())
            groups.insert(cpus);
    }
    return groups;
}

Topology hwlocTopology() {
    const std::string xml = outputOf("lstopo-no-graphics --of xml");
    return {hwlocGroups(xml, "Core"), hwlocGroups(xml, "Package"), hwlocGroups(xml, "NUMANode")};
}

TEST(Topology, AgreesWithLscpuAndHwloc) {
    const json topology = json::parse(outputOf(TERN_INFO " --json")).at("topology");
    const json& rows = topology.at("cpus");
    const Topology told = {grouped(rows, {"package", "die", "core"}), grouped(rows, {"package"}),
                           grouped(rows, {"node"})};
    EXPECT_EQ(told, lscpuTopology());
    EXPECT_EQ(told, hwlocTopology());
    EXPECT_EQ(topology.at("packages"), told.packages.size());
    EXPECT_EQ(topology.at("cores"), told.cores.size());
    EXPECT_EQ(topology.at("threads"), rows.size());
}

}  // namespace
