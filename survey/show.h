/// A survey as tables for people.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "survey/record.h"

namespace survey {

/// What of a session is shown.
struct Shown {
    bool points = true, levels = true;
    bool onlyNoisy = false;  ///< and invalid ones
    std::string containing;  ///< only points whose text contains this; empty: all
};

/// The session's tables: a table for each plan and unit, 80 columns wide at most, and what each
/// level of the memory gives.
void show(std::ostream& out, const Survey& survey, const Session& session, const Shown& shown = {});

/// "12.3": three or four digits that matter, for people.
std::string figureText(double value);

}  // namespace survey
