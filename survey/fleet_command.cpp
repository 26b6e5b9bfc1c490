// kestrel-survey fleet: many hosts' files in, what stands out.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

#include "survey/command.h"
#include "survey/fleet/fleet_report.h"
#include "survey/fleet/node_list.h"
#include "survey/several.h"

namespace survey {
namespace {

struct FleetOrder {
    std::vector<std::string> files;
    std::string expect, format = "text", output;
};

void refuseTwice(const std::vector<std::string>& files) {
    std::set<std::filesystem::path> seen;
    for (const std::string& file : files) {
        std::error_code unknown;
        const auto path = std::filesystem::weakly_canonical(file, unknown);
        if (!seen.insert(unknown ? std::filesystem::path(file) : path).second)
            throw UsageError(file + ": is named twice");
    }
}

/// Reads the files one after the other and keeps of each what is compared.
void readHosts(const std::vector<std::string>& files, FleetReport& report) {
    std::map<std::string, std::string> fileOf;
    for (const std::string& file : files)
        try {
            const Survey survey = readResults(file);
            const auto [other, isNew] = fileOf.try_emplace(survey.host.name, file);
            if (isNew)
                report.fleet.add(file, survey);
            else
                report.broken.push_back({.file = file,
                                         .reason = "its host is called " + survey.host.name +
                                                   ", as that of " + other->second +
                                                   "; run --name tells hosts apart",
                                         .sameName = true});
        } catch (const FileError& failure) {
            report.broken.push_back({file, failure.reason()});
        }
}

std::vector<TellingFact> factsOf(const FleetHost& host) {
    for (const Session& session : readFacts(host.file).sessions)
        if (session.id == host.session)
            return tellingFacts(session);
    throw FileError(host.file, "has changed while it was read");
}

/// What hosts that stand out have otherwise than some of the others, which is as telling as all.
void readFactsApart(const FleetGroup& group, FleetReport& report) {
    constexpr std::size_t enough = 25;
    std::set<std::size_t> standing;
    for (const Outlier& outlier : group.outliers)
        standing.insert(outlier.host);
    if (standing.empty())
        return;
    std::vector<std::vector<TellingFact>> peers;
    for (const std::size_t host : group.hosts)
        if (!standing.contains(host) && peers.size() < enough)
            peers.push_back(factsOf(report.fleet.hosts[host]));
    for (const std::size_t host : standing)
        report.facts[host] = factsApart(factsOf(report.fleet.hosts[host]), peers);
}

std::vector<std::string> missingOf(const std::vector<std::string>& expected, const Fleet& fleet) {
    std::set<std::string> found;
    for (const FleetHost& host : fleet.hosts)
        found.insert(host.name);
    std::vector<std::string> missing;
    for (const std::string& name : expected)
        if (!found.contains(name))
            missing.push_back(name);
    return missing;
}

std::vector<std::string> parseExpected(const std::string& list) {
    if (list.empty())
        return {};
    try {
        return parseNodeList(list);
    } catch (const std::invalid_argument& failure) {
        throw UsageError(std::string("--expect: ") + failure.what());
    }
}

void write(const FleetReport& report, const FleetOrder& order) {
    const std::string text =
        order.format == "json"
            ? toJson(report).dump(1, ' ', false, Json::error_handler_t::replace) + '\n'
            : textOf(report);
    if (order.output.empty())
        std::cout << text << std::flush;
    else
        replaceFile(order.output, text);
}

int lookAtFleet(const FleetOrder& order) {
    const std::vector<std::string> expected = parseExpected(order.expect);
    refuseTwice(order.files);
    protectSurveys(order.output, order.files);
    FleetReport report;
    readHosts(order.files, report);
    report.missing = missingOf(expected, report.fleet);
    report.groups = compareHosts(report.fleet);
    for (const FleetGroup& group : report.groups)
        readFactsApart(group, report);
    write(report, order);
    if (report.fleet.hosts.empty())
        throw std::runtime_error("none of the files can be read");
    if (report.compared() == 0)
        throw std::runtime_error("nothing was compared: no point has " +
                                 std::to_string(fewestPeers + 1) +
                                 " hosts of one processor model with figures to be trusted");
    return report.allIsWell() ? 0 : 1;
}

}  // namespace

Command addFleetCommand(CLI::App& app, const std::string& /*commandLine*/) {
    const auto order = std::make_shared<FleetOrder>();
    app.add_option("files", order->files, "survey files, one of each host")->required();
    app.add_option("--expect", order->expect, "hosts that there should be, as in n[01-32],login");
    app.add_option("--format", order->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    app.add_option("-o,--output", order->output, "where to write it, instead of standard output");
    app.footer(
        "Exit status: 0 nothing stands out; 1 figures stand out, or hosts are missing, broken,\n"
        "not complete or of another plan; 2 usage; 3 nothing could be read, compared or\n"
        "written.");
    return [order] { return lookAtFleet(*order); };
}

}  // namespace survey
