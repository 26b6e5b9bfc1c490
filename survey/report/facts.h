/// What a session knows of its host, and how it measured, as rows of text.
#pragma once

#include <string>
#include <vector>

#include "survey/report/entry.h"
#include "survey/report/html.h"

namespace survey {

/// What a machine does not tell.
inline constexpr const char* unknownFact = "unknown";

/// A fact by its place, "/processor/microcode"; unknownFact where there is none. Facts may be any
/// JSON at all.
std::string factText(const Json& facts, const std::string& place);

/// What `check` said, as the session keeps it.
struct SettingRow {
    std::string name, standing, found, advice;
};
std::vector<SettingRow> settingRows(const Session& session);

/// A column for each entry; rows that differ are marked.
Table factTable(const std::vector<Entry>& entries);
Table settingTable(const std::vector<Entry>& entries);
Table methodTable(const std::vector<Entry>& entries);

}  // namespace survey
