/// Several survey files that are looked at together.
#pragma once

#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

struct SurveyFile {
    std::string path;
    Survey survey;
};

/// Throws UsageError where a file is named twice, and FileError where one cannot be read or holds a
/// session that another one holds too: nothing is to be compared with itself.
std::vector<SurveyFile> readSurveys(const std::vector<std::string>& paths);

}  // namespace survey
