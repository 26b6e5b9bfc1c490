#include "survey/report/entry.h"

#include <algorithm>
#include <set>

namespace survey {
namespace {

/// At most so many bytes, not ending inside a character.
std::string cutTo(std::size_t most, std::string text) {
    if (text.size() <= most)
        return text;
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end) + "…";
}

/// What tells a session from the others of its host.
std::string sessionName(const Session& session) {
    return session.label.empty() ? timeText(session.started) : session.label;
}

}  // namespace

std::string timeText(const std::string& time) {
    constexpr std::size_t date = 10, clock = 8;
    if (time.size() < date + 1 + clock || time[date] != 'T')
        return time;
    return time.substr(0, date) + " " + time.substr(date + 1, clock);
}

std::vector<Entry> entriesOf(const std::vector<SurveyFile>& files) {
    std::vector<Entry> entries;
    std::multiset<std::string> hosts;
    for (const SurveyFile& file : files)
        for (const Session& session : file.survey.sessions) {
            entries.push_back({&file, &session, {}});
            hosts.insert(file.survey.host.name);
        }
    constexpr std::size_t longest = 40;
    std::set<std::string> taken;
    for (Entry& entry : entries) {
        const std::string& host = entry.host().name;
        const std::size_t ofThisHost = hosts.count(host);
        std::string name = ofThisHost == entries.size() ? "" : host;
        if (ofThisHost > 1 || name.empty())
            name += (name.empty() ? "" : ", ") + sessionName(*entry.session);
        name = cutTo(longest, name);
        entry.name = name;
        for (int i = 2; !taken.insert(entry.name).second; ++i)
            entry.name = name + " (" + std::to_string(i) + ")";
    }
    return entries;
}

}  // namespace survey
