// kestrel-survey check: before a long run.
#include <CLI/CLI.hpp>
#include <iostream>

#include "survey/command.h"
#include "survey/run/plan.h"
#include "survey/run/settings.h"

namespace survey {
namespace {

int check(std::ostream& out) {
    constexpr std::size_t column = 11;
    const Ground ground = groundOf(machine::gatherFacts());
    bool warned = false;
    for (const Setting& setting : lookAtSettings(ground.facts, ground.cpus)) {
        warned |= setting.standing == Standing::warning;
        const std::string standing(nameOf(setting.standing));
        out << standing << std::string(column - standing.size(), ' ') << setting.name << ": "
            << setting.found << '\n';
        if (!setting.advice.empty())
            out << std::string(column, ' ') << "-> " << setting.advice << '\n';
    }
    return warned ? 1 : 0;
}

}  // namespace

Command addCheckCommand(CLI::App& /*app*/, const std::string& /*commandLine*/) {
    return [] { return check(std::cout); };
}

}  // namespace survey
