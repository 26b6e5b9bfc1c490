#include "survey/fleet/fleet_report.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "survey/columns.h"
#include "survey/fleet/node_list.h"
#include "survey/verdict.h"

namespace survey {
namespace {

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::vector<std::string> namesOf(const Fleet& fleet, const std::vector<std::size_t>& hosts) {
    std::vector<std::string> names;
    names.reserve(hosts.size());
    for (const std::size_t host : hosts)
        names.push_back(fleet.hosts[host].name);
    return names;
}

template <class Is>
std::vector<std::string> namesWhere(const Fleet& fleet, Is is) {
    std::vector<std::string> names;
    for (const FleetHost& host : fleet.hosts)
        if (is(host))
            names.push_back(host.name);
    return names;
}

std::vector<std::string> incomplete(const Fleet& fleet) {
    return namesWhere(fleet, [](const FleetHost& host) { return !host.complete; });
}

std::vector<std::string> ofAnotherPlan(const FleetReport& report) {
    std::vector<std::string> names;
    for (const FleetGroup& group : report.groups)
        for (const std::size_t host : group.ofAnotherPlan)
            names.push_back(report.fleet.hosts[host].name);
    return names;
}

/// A host that stands out, and its outliers, the most deviations first.
struct Standout {
    std::size_t host;
    std::vector<const Outlier*> outliers;
};

std::vector<Standout> standoutsOf(const FleetGroup& group) {
    std::vector<Standout> all;
    std::map<std::size_t, std::size_t> places;
    for (const Outlier& outlier : group.outliers) {
        const auto place = places.try_emplace(outlier.host, all.size()).first->second;
        if (place == all.size())
            all.push_back({outlier.host, {}});
        all[place].outliers.push_back(&outlier);
    }
    return all;
}

std::string differenceText(const Outlier& outlier, Unit unit) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%+.1f%% (%s)", 100 * outlier.difference,
                  outlier.isWorse(unit) ? "worse" : "better");
    return text.data();
}

void addOutlier(std::string& out, const Outlier& outlier, const Parameters& point) {
    const Unit unit = unitOf(point);
    const UnitText& texts = textOf(unit);
    out += "    " + padded(differenceText(outlier, unit), 17) + " z " +
           padded(figureText(outlier.z), 6) + textOf(point) + ": " +
           figureText(outlier.value * texts.scale) + ", usually " +
           figureText(outlier.usual * texts.scale) + " " + std::string(texts.forPeople);
    if (outlier.verdict != Verdict::ok)
        out += "; " + std::string(nameOf(outlier.verdict)) + ": " + outlier.cause;
    out += '\n';
}

void addStandout(std::string& out, const Standout& standout, const FleetReport& report) {
    constexpr std::size_t shown = 3;
    const FleetHost& host = report.fleet.hosts[standout.host];
    const std::size_t count = standout.outliers.size();
    out += "  " + host.name + ": " + counted(count, "figure") +
           (count == 1 ? " stands" : " stand") + " out" +
           (count > shown ? ", the worst three" : "") + '\n';
    for (std::size_t i = 0; i < std::min(count, shown); ++i)
        addOutlier(out, *standout.outliers[i], report.fleet.points[standout.outliers[i]->point]);
    if (const auto facts = report.facts.find(standout.host); facts != report.facts.end())
        for (const FactApart& fact : facts->second)
            out += "    " + fact.name + ": " + fact.value + ", usually " + fact.usual + '\n';
}

void addGroup(std::string& out, const FleetGroup& group, const FleetReport& report) {
    const auto standouts = standoutsOf(group);
    out += '\n' + group.processor + ", " + counted(group.hosts.size(), "host") + ": " +
           nodeListText(namesOf(report.fleet, group.hosts)) + '\n';
    out += std::to_string(group.compared) + " of " + counted(group.points, "point") + " compared";
    if (group.compared < group.points)
        out += ", the others are of too few hosts with figures to be trusted";
    out += "; " +
           (standouts.empty()       ? "no host stands"
            : standouts.size() == 1 ? "1 host stands"
                                    : std::to_string(standouts.size()) + " hosts stand") +
           " out\n";
    for (const Standout& standout : standouts)
        addStandout(out, standout, report);
}

void addNames(std::string& out, const char* title, const std::vector<std::string>& names) {
    constexpr std::size_t column = 14;
    if (!names.empty())
        out += padded(title, column) + nodeListText(names) + '\n';
}

Json jsonOf(const FleetHost& host, std::size_t outliers) {
    return {{"name", host.name},
            {"file", host.file},
            {"processor", host.processor},
            {"session", host.session},
            {"plan", host.plan},
            {"complete", host.complete},
            {"points", host.figures.size()},
            {"points_ok", host.trusted()},
            {"outliers", outliers}};
}

Json jsonOf(const std::vector<FactApart>& facts) {
    Json json = Json::object();
    for (const FactApart& fact : facts)
        json[fact.name] = {{"value", fact.value}, {"usual", fact.usual}};
    return json;
}

Json jsonOf(const Outlier& outlier, const FleetReport& report) {
    const Parameters& point = report.fleet.points[outlier.point];
    const auto facts = report.facts.find(outlier.host);
    return {
        {"host", report.fleet.hosts[outlier.host].name},
        {"parameters", toJson(point)},
        {"unit", textOf(unitOf(point)).inFile},
        {"value", outlier.value},
        {"usual", outlier.usual},
        {"difference", outlier.difference},
        {"worse", outlier.isWorse(unitOf(point))},
        {"z", outlier.z},
        {"peers", outlier.peers},
        {"verdict", nameOf(outlier.verdict)},
        {"cause", outlier.cause.empty() ? Json() : Json(outlier.cause)},
        {"facts", jsonOf(facts != report.facts.end() ? facts->second : std::vector<FactApart>())}};
}

/// Of all groups, the most deviations first.
std::vector<const Outlier*> allOutliers(const FleetReport& report) {
    std::vector<const Outlier*> all;
    for (const FleetGroup& group : report.groups)
        for (const Outlier& outlier : group.outliers)
            all.push_back(&outlier);
    std::ranges::stable_sort(all, std::greater(), [](const Outlier* it) { return it->z; });
    return all;
}

}  // namespace

std::vector<FactApart> factsApart(const std::vector<TellingFact>& own,
                                  const std::vector<std::vector<TellingFact>>& peers) {
    std::vector<FactApart> apart;
    for (std::size_t i = 0; i < own.size(); ++i) {
        std::map<std::string, std::size_t> counts;
        for (const std::vector<TellingFact>& peer : peers)
            if (const std::string& value = peer.at(i).value;
                2 * ++counts[value] > peers.size() && value != own[i].value) {
                apart.push_back({own[i].name, own[i].value, value});
                break;
            }
    }
    return apart;
}

bool FleetReport::allIsWell() const {
    return missing.empty() && broken.empty() && incomplete(fleet).empty() &&
           std::ranges::all_of(groups, [](const FleetGroup& group) {
               return group.outliers.empty() && group.ofAnotherPlan.empty();
           });
}

std::size_t FleetReport::compared() const {
    std::size_t sum = 0;
    for (const FleetGroup& group : groups)
        sum += group.compared;
    return sum;
}

std::string textOf(const FleetReport& report) {
    std::string out = counted(report.fleet.hosts.size(), "host") + ", " +
                      counted(report.groups.size(), "processor model") + '\n';
    addNames(out, "missing", report.missing);
    for (const BrokenFile& broken : report.broken)
        out += (broken.sameName ? "same name     " : "broken        ") + broken.file + ": " +
               broken.reason + '\n';
    addNames(out, "not complete", incomplete(report.fleet));
    addNames(out, "another plan", ofAnotherPlan(report));
    addNames(out, "mostly noisy",
             namesWhere(report.fleet, [](const FleetHost& host) { return host.noisy(); }));
    for (const FleetGroup& group : report.groups)
        addGroup(out, group, report);
    return out;
}

Json toJson(const FleetReport& report) {
    const auto outliers = allOutliers(report);
    std::vector<std::size_t> counts(report.fleet.hosts.size());
    Json found = Json::array(), hosts = Json::array(), groups = Json::array();
    for (const Outlier* const outlier : outliers) {
        ++counts[outlier->host];
        found.push_back(jsonOf(*outlier, report));
    }
    for (std::size_t i = 0; i < counts.size(); ++i)
        hosts.push_back(jsonOf(report.fleet.hosts[i], counts[i]));
    for (const FleetGroup& group : report.groups)
        groups.push_back({{"processor", group.processor},
                          {"hosts", group.hosts.size()},
                          {"points", group.points},
                          {"compared", group.compared}});
    Json broken = Json::array();
    for (const BrokenFile& each : report.broken)
        broken.push_back({{"file", each.file}, {"reason", each.reason}});
    return {{"schema", "kestrel-fleet/1"},
            {"groups", groups},
            {"hosts", hosts},
            {"missing", report.missing},
            {"broken", broken},
            {"incomplete", incomplete(report.fleet)},
            {"another_plan", ofAnotherPlan(report)},
            {"outliers", found}};
}

}  // namespace survey
