/// The sessions that a report is about.
#pragma once

#include <string>
#include <vector>

#include "survey/several.h"

namespace survey {

struct Entry {
    const SurveyFile* file;
    const Session* session;
    std::string name;  ///< short, and no other entry's

    [[nodiscard]] const Host& host() const { return file->survey.host; }
};

/// The entries refer to the files.
std::vector<Entry> entriesOf(const std::vector<SurveyFile>& files);

/// "2026-11-23 04:27:43" of a time in a file.
std::string timeText(const std::string& time);

}  // namespace survey
