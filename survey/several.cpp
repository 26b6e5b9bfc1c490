#include "survey/several.h"

#include <filesystem>
#include <map>
#include <set>

#include "survey/command.h"

namespace survey {

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

}  // namespace survey
