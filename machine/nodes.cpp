#include "machine/nodes.h"

#include "machine/reading.h"
#include "machine/text.h"

namespace machine {

namespace {

/// One distance for each node; empty where the line is anything else.
std::vector<unsigned> parseDistances(const std::string& line, std::size_t nodes) {
    std::vector<unsigned> distances;
    for (const std::string& word : words(line)) {
        const auto distance = parseNumber(word);
        if (distance && *distance <= UINT16_MAX)
            distances.push_back(static_cast<unsigned>(*distance));
    }
    return distances.size() == nodes ? distances : std::vector<unsigned>();
}

}  // namespace

std::vector<Node> gatherNodes(const Sources& sources) {
    const std::string nodesFolder = "/sys/devices/system/node";
    const NumberList online = readList(sources, nodesFolder + "/online").value_or(NumberList());
    std::vector<Node> nodes;
    for (const unsigned number : online) {
        const std::string folder = nodesFolder + "/node" + std::to_string(number);
        const std::string prefix = "Node " + std::to_string(number) + ' ';
        const auto meminfo = readMeminfo(sources, folder + "/meminfo");
        nodes.push_back({.number = number,
                         .cpus = readList(sources, folder + "/cpulist").value_or(NumberList()),
                         .memoryBytes = bytesOf(meminfo, prefix + "MemTotal"),
                         .freeBytes = bytesOf(meminfo, prefix + "MemFree"),
                         .distances = parseDistances(
                             readLine(sources, folder + "/distance").value_or(""), online.size()),
                         .hugePages = gatherHugePages(sources, folder + "/hugepages")});
    }
    return nodes;
}

}  // namespace machine
