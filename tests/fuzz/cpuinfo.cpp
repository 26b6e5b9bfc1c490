// The first byte is the number of CPUs online, the rest the file: packages are numbered without a
// gap, and no place is given twice where threads are numbered.
#include <set>
#include <tuple>
#include <vector>

#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/time.h"
#include "tests/tern/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string path = text_file(std::string(data + 1, data + size));
    tern_cpu_signature signature{};
    std::vector<tern_cpu_topology> topology(data[0]);
    std::uint64_t hertz = 0;
    if (tern::read_cpuinfo_frequency(path.c_str(), hertz) != 0)
        std::abort();
    if (!tern::read_cpuinfo(path.c_str(), signature, topology))
        return 0;
    std::set<std::tuple<int, int, int>> places;
    std::set<std::size_t> packages, threads;
    for (const tern_cpu_topology& cpu : topology) {
        places.emplace(cpu.package, cpu.core, cpu.thread);
        packages.insert(cpu.package);
        threads.insert(cpu.thread);
    }
    if ((packages.size() > 1 && *packages.rbegin() != packages.size() - 1) ||
        (threads.size() > 1 && places.size() != topology.size()))
        std::abort();
    return 0;
}
