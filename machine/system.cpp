#include "machine/system.h"

#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "machine/reading.h"
#include "machine/text.h"
#include "tern/cpu_info.h"
#include "tern/environment.h"
#include "tern/src/linux/tern/os_info.h"

namespace machine {

namespace {

/// Where the layer's texts come from here.
tern_allocator allocator{
    .release = [](tern_allocator* /*self*/, void* memory) { std::free(memory); },
    .allocate_text = [](tern_allocator* /*self*/,
                        std::size_t bytes) { return static_cast<char*>(std::malloc(bytes)); },
    .allocate_block = [](tern_allocator* /*self*/,
                         std::size_t bytes) { return std::malloc(bytes); }};

/// Takes a text over from the layer; null is one that it could not make.
std::optional<std::string> takeText(char* text) {
    const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
    return text ? told(validText(trimmed(text))) : std::nullopt;
}

std::optional<std::string> releaseTitle(const Sources& sources) {
    for (const char* path : tern::release_files) {
        const auto text = readFile(sources, path);
        if (text && !text->empty())
            return systemTitle(*text);
    }
    return std::nullopt;
}

std::optional<std::string> runningKernel() {
    utsname kernel{};
    return uname(&kernel) == 0 ? told(kernel.release) : std::nullopt;
}

std::optional<std::string> runningArchitecture() {
    constexpr std::array<const char*, 4> names{"", "ia32", "ia64", "x86_64"};
    return told(names[tern_get_cpu_arch()]);
}

bool changesFigures(std::string_view word) {
    constexpr std::string_view names =
        " amd_iommu amd_pstate clocksource default_hugepagesz hugepages hugepagesz idle intel_idle "
        "intel_iommu intel_pstate iommu irqaffinity isolcpus l1tf maxcpus mds mem mitigations "
        "nmi_watchdog noht nohz nohz_full nopti nosmt nospectre_v1 nospectre_v2 notsc nowatchdog "
        "nr_cpus numa numa_balancing preempt processor pti rcu_nocbs retbleed "
        "spec_store_bypass_disable spectre_v2 transparent_hugepage tsc tsx tsx_async_abort ";
    // "intel_idle.max_cstate=1" is one of intel_idle.
    const std::string name(word.substr(0, word.find_first_of("=.")));
    return names.find(' ' + name + ' ') != std::string_view::npos;
}

std::optional<std::vector<std::string>> gatherParameters(const Sources& sources) {
    const auto line = readLine(sources, "/proc/cmdline");
    if (!line)
        return std::nullopt;
    auto parameters = words(*line);
    parameters.erase(std::ranges::find(parameters, "--"), parameters.end());  // init's follow
    std::erase_if(parameters, [](const std::string& word) { return !changesFigures(word); });
    return parameters;
}

}  // namespace

System gatherSystem(const Sources& sources) {
    System system;
    system.operatingSystem = releaseTitle(sources);
    system.kernelRelease = readLine(sources, "/proc/sys/kernel/osrelease");
    system.hostName = readLine(sources, "/proc/sys/kernel/hostname");
    if (!system.kernelRelease && sources.live)
        system.kernelRelease = runningKernel();
    if (!system.hostName && sources.live)
        system.hostName = takeText(tern_get_host_name(&allocator));
    if (sources.live)
        system.architecture = runningArchitecture();
    system.hypervisor = takeText(tern::make_hypervisor_name(
        sources.cpuid, (sources.root + "/sys/hypervisor/type").c_str(), &allocator));
    system.bootId = readLine(sources, "/proc/sys/kernel/random/boot_id");
    system.clockSource =
        readLine(sources, "/sys/devices/system/clocksource/clocksource0/current_clocksource");
    system.kernelParameters = gatherParameters(sources);
    system.isolatedCpus = readList(sources, std::string(cpuFolder) + "/isolated");
    return system;
}

}  // namespace machine
