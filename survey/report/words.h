/// What a session tells, in sentences.
#pragma once

#include <string>

#include "survey/report/entry.h"

namespace survey {

/// Text: what the machine is.
std::string machineWords(const Entry& entry);
/// HTML: the levels of its memory, and what is not to be trusted and why.
std::string summaryOf(const Entry& entry);

/// What a pattern does, in a few words; empty for one that is not known.
std::string_view meaningOf(std::string_view pattern);

}  // namespace survey
