/// How the machine is set up for measuring, and what to do about it.
#pragma once

#include <string>
#include <vector>

#include "machine/facts.h"
#include "survey/record.h"

namespace survey {

enum class Standing { ok, note, warning, notKnown };

struct Setting {
    std::string name;
    Standing standing;
    std::string found;   ///< what it is
    std::string advice;  ///< what to do about it; empty where there is nothing to do
};

/// Looks at the machine as it is now; takes a fifth of a second, to see which CPUs are busy.
std::vector<Setting> lookAtSettings(const machine::Facts& facts, const std::vector<unsigned>& cpus);

std::string_view nameOf(Standing standing);

Json toJson(const std::vector<Setting>& settings);

}  // namespace survey
