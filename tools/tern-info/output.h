/// The two forms of output.
#pragma once

#include <string>

#include "facts.h"

/// One aligned page; what is not known reads "unknown".
std::string page(const machine_facts& machine);

/// One JSON object; what is not known is null.
std::string json_text(const machine_facts& machine);
