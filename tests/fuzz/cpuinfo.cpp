// The first byte is the number of CPUs online, the rest the file: packages are numbered without
// a gap.
#include <set>
#include <vector>

#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/time.h"
#include "tests/tern/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const text_file file(std::string(data + (size != 0), data + size));
    tern_cpu_signature signature{};
    std::vector<tern_cpu_topology> topology(size == 0 ? 0 : data[0]);
    std::uint64_t hertz = 0;
    tern::read_cpuinfo_frequency(file.path.c_str(), hertz);
    const bool ok = tern::read_cpuinfo(file.path.c_str(), signature, topology);
    std::set<std::size_t> packages;
    for (const tern_cpu_topology& cpu : topology)
        packages.insert(cpu.package);
    if (ok && packages.size() > 1 && *packages.rbegin() != packages.size() - 1)
        std::abort();
    return 0;
}
