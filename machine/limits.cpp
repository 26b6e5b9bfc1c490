#include "machine/limits.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "machine/reading.h"
#include "machine/text.h"
#include "machine/visit.h"

namespace machine {

namespace {

constexpr double noLimit = std::numeric_limits<double>::infinity();

double ratio(std::optional<std::uint64_t> quota, std::optional<std::uint64_t> period) {
    return quota && period && *period != 0
               ? static_cast<double>(*quota) / static_cast<double>(*period)
               : noLimit;
}

/// A group's own limit; version 2 has "max 100000" or "50000 100000" in one file, version 1 two
/// files, of which the quota is -1 where there is none.
double groupLimit(const Sources& sources, const std::string& folder, bool version2) {
    if (!version2)
        return ratio(readNumber(sources, folder + "/cpu.cfs_quota_us"),
                     readNumber(sources, folder + "/cpu.cfs_period_us"));
    const std::string line = readLine(sources, folder + "/cpu.max").value_or("");
    std::string_view period = line;
    const std::string_view quota = takeUntil(period, ' ');
    return ratio(parseNumber(quota), parseNumber(period));
}

/// Where this process stands in the hierarchy that limits something: version 1's of that controller
/// where there is one, else version 2's.
struct Group {
    std::filesystem::path path;
    bool version2;
};

std::optional<Group> ownGroup(const Sources& sources, std::string_view controller) {
    const std::string text = readFile(sources, "/proc/self/cgroup").value_or("");
    std::optional<Group> group;
    for (std::string_view rest = text; !rest.empty();) {
        std::string_view path = takeUntil(rest, '\n');  // number:controllers:path
        const bool version2 = takeUntil(path, ':') == "0";
        for (std::string_view controllers = takeUntil(path, ':'); !controllers.empty();)
            if (takeUntil(controllers, ',') == controller)
                return Group{.path = path, .version2 = false};
        if (version2)
            group = Group{.path = path, .version2 = true};
    }
    return group;
}

/// The folders of the group and those around it, below the first of these that is mounted.
std::vector<std::string> foldersOf(const Sources& sources, const Group& group,
                                   const std::vector<std::string>& mounts) {
    for (const std::string& mount : mounts) {
        if (namesIn(sources, mount).empty())
            continue;
        std::vector<std::string> folders;
        for (std::filesystem::path path = group.path; path.has_relative_path();
             path = path.parent_path())
            folders.push_back(mount + path.string());
        folders.push_back(mount);
        return folders;
    }
    return {};
}

const std::vector<std::string> version2Mounts{"/sys/fs/cgroup/unified", "/sys/fs/cgroup"};

/// The lowest limit of the groups around this process.
std::optional<CpuQuota> gatherQuota(const Sources& sources) {
    const auto group = ownGroup(sources, "cpu");
    const std::vector<std::string> folders = cpuGroupFolders(sources);
    if (folders.empty())
        return std::nullopt;
    double limit = noLimit;
    for (const std::string& folder : folders)
        limit = std::min(limit, groupLimit(sources, folder, group->version2));
    return limit == noLimit ? CpuQuota() : CpuQuota{.cpus = limit};
}

std::optional<MemoryLimit> gatherMemoryLimit(const Sources& sources) {
    const auto group = ownGroup(sources, "memory");
    if (!group)
        return std::nullopt;
    const std::vector<std::string> folders = foldersOf(
        sources, *group,
        group->version2 ? version2Mounts : std::vector<std::string>{"/sys/fs/cgroup/memory"});
    if (folders.empty())
        return std::nullopt;
    MemoryLimit limit;
    // Version 2 says "max" where there is none, version 1 the largest number of pages that it
    // knows.
    constexpr std::uint64_t none = std::uint64_t{1} << 60;
    for (const std::string& folder : folders)
        if (const auto bytes = readNumber(
                sources, folder + (group->version2 ? "/memory.max" : "/memory.limit_in_bytes"));
            bytes && *bytes < std::min(none, limit.bytes.value_or(none)))
            limit.bytes = bytes;
    return limit;
}

}  // namespace

std::vector<std::string> cpuGroupFolders(const Sources& sources) {
    const auto group = ownGroup(sources, "cpu");
    if (!group)
        return {};
    return foldersOf(sources, *group,
                     group->version2 ? version2Mounts
                                     : std::vector<std::string>{"/sys/fs/cgroup/cpu",
                                                                "/sys/fs/cgroup/cpu,cpuacct"});
}

Limits gatherLimits(const Sources& sources) {
    Limits limits;
    eachField(readFile(sources, "/proc/self/status").value_or(""),
              [&](std::string_view name, std::string_view value) {
                  if (name == "Cpus_allowed_list")
                      limits.cpus = parseNumberList(value);
                  else if (name == "Mems_allowed_list")
                      limits.nodes = parseNumberList(value);
              });
    if (!limits.cpus && sources.live)
        limits.cpus = affinity();
    limits.quota = gatherQuota(sources);
    limits.memory = gatherMemoryLimit(sources);
    return limits;
}

}  // namespace machine
