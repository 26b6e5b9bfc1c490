/// Survey files as a page with charts, which needs nothing but a browser.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "survey/several.h"

namespace survey {

/// One HTML file: a summary, charts with their tables, the facts of the hosts, and how it was
/// measured.
std::string reportOf(const std::vector<SurveyFile>& files);

/// Whether a file's text is what reportOf made.
bool isReport(std::string_view text);

/// Writes it to a file that does not exist, is empty, or is a report. Throws FileError.
void writeReport(const std::string& path, const std::vector<SurveyFile>& files);

}  // namespace survey
