/// In which facts hosts differ.
#pragma once

#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

struct FactDifference {
    std::string name;    ///< "processor.microcode"
    Json before, after;  ///< one value, or a list where a side's sessions differ; null: not known
};

/// The facts of the sessions and the programs that measured them, less what changes from minute to
/// minute on any host. What explains figures most stands first.
std::vector<FactDifference> factDifferences(const Survey& before, const Survey& after);

}  // namespace survey
