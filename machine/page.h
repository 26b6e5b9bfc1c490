/// The facts for people.
#pragma once

#include <string>

#include "machine/facts.h"

namespace machine {

/// Aligned lines, a paragraph a subject; what is not known reads "unknown".
std::string page(const Facts& facts);

}  // namespace machine
