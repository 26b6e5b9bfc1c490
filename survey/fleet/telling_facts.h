/// The facts of a host that explain its figures.
#pragma once

#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

struct TellingFact {
    std::string name;   ///< "governor"
    std::string value;  ///< for people; "unknown" where the machine did not tell
};

/// Always the same facts in the same order: those first that explain most where hosts differ.
std::vector<TellingFact> tellingFacts(const Session& session);

}  // namespace survey
