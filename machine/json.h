/// The facts for programs.
#pragma once

#include <nlohmann/json.hpp>

#include "machine/facts.h"

namespace machine {

/// An object of the format "machine-facts/1", which docs/machine-facts.md describes: every member
/// is always there, null where the machine does not tell.
nlohmann::ordered_json toJson(const Facts& facts);

}  // namespace machine
