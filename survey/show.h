/// A survey as tables for people.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "survey/record.h"
#include "survey/several.h"

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

std::vector<const Point*> pointsShown(const Session& session, const Shown& shown);

/// The same sessions, points (but for their samples' details) and levels as in the tables, in the
/// format "kestrel-survey-show/1".
Json showJson(const std::vector<SurveyFile>& files, const Shown& shown = {});

}  // namespace survey
