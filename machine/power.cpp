#include "machine/power.h"

#include <map>

#include "machine/reading.h"

namespace machine {

namespace {

std::optional<bool> readBoost(const Sources& sources) {
    const std::string folder = cpuFolder;
    if (const auto off = readNumber(sources, folder + "/intel_pstate/no_turbo"))
        return *off == 0;
    if (const auto on = readNumber(sources, folder + "/cpufreq/boost"))
        return *on != 0;
    return std::nullopt;
}

}  // namespace

Power gatherPower(const Sources& sources, const NumberList& online) {
    Power power;
    std::map<std::string, NumberList> governors;
    for (const unsigned cpu : online) {
        const std::string folder = cpuFolder + ("/cpu" + std::to_string(cpu)) + "/cpufreq/";
        if (const auto name = readLine(sources, folder + "scaling_governor"))
            governors[*name].push_back(cpu);
        if (!power.scalingDriver)
            power.scalingDriver = readLine(sources, folder + "scaling_driver");
    }
    for (const auto& [name, cpus] : governors)
        power.governors.push_back({.name = name, .cpus = cpus});
    power.boost = readBoost(sources);
    power.smtControl = readLine(sources, std::string(cpuFolder) + "/smt/control");
    return power;
}

}  // namespace machine
