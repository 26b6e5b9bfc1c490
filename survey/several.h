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

/// Keeps what is made from surveys from taking the place of one. Throws UsageError where `output`
/// is one of the inputs, by whatever name, and FileError where it is another survey, be it damaged
/// or of a newer format. No output ("") is fine.
void protectSurveys(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace survey
