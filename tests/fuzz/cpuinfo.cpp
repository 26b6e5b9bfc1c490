// The first byte is the number of CPUs online, the rest the file.
#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/time.h"
#include "tests/fuzz/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const text_file file(std::string(data + 1, data + size));
    tern_cpu_signature signature{};
    std::vector<tern_cpu_topology> topology(data[0]);
    if (tern::read_cpuinfo(file.path().c_str(), signature, topology)) {
        std::set<std::tuple<int, int, int>> places;
        std::set<int> packages;
        bool threads_numbered = false;
        for (const tern_cpu_topology& cpu : topology) {
            places.emplace(cpu.package, cpu.core, cpu.thread);
            packages.insert(cpu.package);
            threads_numbered = threads_numbered || cpu.thread != 0;
        }
        expect(!threads_numbered || places.size() == topology.size());
        expect(packages.size() < 2 || *packages.rbegin() == static_cast<int>(packages.size()) - 1);
    }
    std::uint64_t hertz = 0;
    expect(tern::read_cpuinfo_frequency(file.path().c_str(), hertz) == 0);
    return 0;
}
