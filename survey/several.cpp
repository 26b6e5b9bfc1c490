#include "survey/several.h"

#include <cctype>
#include <filesystem>
#include <map>
#include <set>

#include "survey/command.h"

namespace survey {
namespace {

/// By its format's name, wherever that stands, as another program may have sorted the members.
bool looksLikeSurvey(std::string text) {
    std::erase_if(text, [](unsigned char character) { return std::isspace(character) != 0; });
    return text.find(R"("schema":"kestrel-survey/)") != std::string::npos;
}

}  // namespace

std::vector<SurveyFile> readSurveys(const std::vector<std::string>& paths) {
    std::set<std::filesystem::path> seen;
    for (const std::string& path : paths) {
        std::error_code ignored;
        const auto resolved = std::filesystem::weakly_canonical(path, ignored);
        if (!seen.insert(ignored ? std::filesystem::path(path) : resolved).second)
            throw UsageError(path + ": is named twice");
    }
    std::vector<SurveyFile> files;
    std::map<std::string, std::string> fileOfSession;
    for (const std::string& path : paths) {
        files.push_back({path, readSurvey(path)});
        for (const Session& session : files.back().survey.sessions)
            if (const auto [found, isNew] = fileOfSession.emplace(session.id, path); !isNew)
                throw FileError(path, "its session of " + session.started + " stands in " +
                                          found->second + " too");
    }
    return files;
}

void protectSurveys(const std::string& output, const std::vector<std::string>& inputs) {
    std::error_code absent;
    for (const std::string& input : inputs)
        if (!output.empty() && std::filesystem::equivalent(input, output, absent))
            throw UsageError("--output: " + output + " is one of the files to read");
    if (std::filesystem::is_regular_file(output, absent) &&
        std::filesystem::file_size(output, absent) != 0 && looksLikeSurvey(readFile(output)))
        throw FileError(output, "is a survey, and is not replaced");
}

}  // namespace survey
