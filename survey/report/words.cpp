#include "survey/report/words.h"

#include <algorithm>
#include <array>
#include <map>

#include "survey/columns.h"
#include "survey/evidence.h"
#include "survey/levels.h"
#include "survey/report/facts.h"
#include "survey/report/html.h"
#include "survey/verdict.h"

namespace survey {
namespace {

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (std::size_t i = 0; i < texts.size(); ++i)
        all += (i == 0 ? "" : i + 1 == texts.size() ? " and " : ", ") + texts[i];
    return all;
}

std::string levelWords(const Hierarchy& hierarchy, const std::string& pattern) {
    std::vector<std::string> figures;
    Unit unit{};
    for (const Level& level : hierarchy.levels)
        for (const LevelFigure& figure : level.figures)
            if (figure.pattern == pattern) {
                unit = figure.unit;
                figures.push_back(
                    (figure.verdict == Verdict::noisy ? "~" : "") +
                    figureText(figure.value * textOf(unit).scale) + " in " + level.size.name +
                    (level.size.bytes ? " (" + sizeText(*level.size.bytes) + ")" : ""));
            }
    if (figures.empty())
        return {};
    return pattern + " (" + std::string(meaningOf(pattern)) + "), " +
           std::string(textOf(unit).forPeople) + ": " + joined(figures) + ".";
}

/// Causes that are not kinds of evidence.
constexpr auto otherCauses = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"unknown", "the samples differ and nothing that was watched explains it"},
    {"too few samples", "fewer samples than an interval takes"},
    {"counter not constant", "the counter that times everything does not keep its rate"},
    {"too few passes", "a sample was too short"},
    {"pages elsewhere", "part of the memory was on other nodes than asked for"},
    {"above the core's limit", "more than the units of the core can do"},
});

std::string_view meaningOfCause(std::string_view cause) {
    for (const EvidenceKind& kind : evidenceKinds())
        if (kind.cause == cause)
            return kind.text;
    const auto* const other =
        std::ranges::find(otherCauses, cause, [](const auto& it) { return it.first; });
    return other != otherCauses.end() ? other->second : "";
}

std::string numbered(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " is" : " are");
}

using Counts = std::map<Verdict, std::size_t>;

std::string verdictWords(const Session& session, Counts counts) {
    std::string text = "Of " + counted(session.points.size(), "point") + ", " +
                       numbered(counts[Verdict::ok]) + " ok";
    if (const std::size_t noisy = counts[Verdict::noisy]; noisy != 0)
        text += "; " + numbered(noisy) +
                " noisy (~), and may differ when measured again by more than " +
                percentText(noisyHalfWidth);
    if (const std::size_t invalid = counts[Verdict::invalid]; invalid != 0)
        text += "; " + numbered(invalid) + " invalid and not drawn";
    if (const std::size_t missing = counts[Verdict::unsupported]; missing != 0)
        text += "; " + std::to_string(missing) + " could not be measured";
    return text + ".";
}

/// The causes of noisy, invalid and unsupported points, the most frequent first.
std::string causeList(const Session& session) {
    std::map<std::pair<Verdict, std::string>, std::size_t> counts;
    for (const Point& point : session.points)
        for (const std::string& cause : point.causes)
            ++counts[{point.verdict, cause}];
    std::vector<std::pair<std::pair<Verdict, std::string>, std::size_t>> sorted(counts.begin(),
                                                                                counts.end());
    std::ranges::stable_sort(sorted, std::greater(), [](const auto& it) { return it.second; });
    std::string html;
    for (const auto& [key, count] : sorted) {
        const auto& [verdict, cause] = key;
        const std::string_view meaning = meaningOfCause(cause);
        html += "<li>" +
                escaped(cause + " (" + counted(count, std::string(nameOf(verdict)) + " point") +
                        ")" + (meaning.empty() ? "" : ": " + std::string(meaning))) +
                "</li>\n";
    }
    return html.empty() ? "" : "<ul>\n" + html + "</ul>\n";
}

/// The points with the widest intervals.
std::string leastCertain(const Session& session) {
    std::vector<const Point*> noisy;
    for (const Point& point : session.points)
        if (point.verdict == Verdict::noisy)
            noisy.push_back(&point);
    std::ranges::sort(noisy, std::greater(),
                      [](const Point* it) { return it->summary.halfWidth(); });
    constexpr std::size_t most = 3;
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < std::min(most, noisy.size()); ++i) {
        const Point& point = *noisy[i];
        const UnitText& unit = textOf(point.unit());
        texts.push_back(
            textOf(point.parameters) + " (" + figureText(point.summary.low * unit.scale) + " to " +
            figureText(point.summary.high * unit.scale) + " " + std::string(unit.forPeople) + ")");
    }
    return texts.empty() ? "" : "Least certain: " + joined(texts) + ".";
}

/// What stood against measuring when the session began.
std::string warnings(const Session& session) {
    std::string html;
    for (const SettingRow& setting : settingRows(session))
        if (setting.standing == "warning")
            html += "<li>" +
                    escaped(setting.name + ": " + setting.found +
                            (setting.advice.empty() ? "" : "; " + setting.advice)) +
                    "</li>\n";
    return html.empty()
               ? ""
               : "<p>The machine was not set up well for measuring:</p>\n<ul>\n" + html + "</ul>\n";
}

}  // namespace

std::string_view meaningOf(std::string_view pattern) {
    static constexpr auto meanings = std::to_array<std::pair<std::string_view, std::string_view>>({
        {"a-l", "reads"},
        {"a-lms", "reads"},
        {"a-lls", "two reads and a store"},
        {"a-fastmem", "two reads and a store that bypasses the caches"},
        {"l-l", "loads in order, each of which waits for the one before"},
        {"l-lms", "loads in order, each of which waits for the one before"},
        {"l-r", "random loads, each of which waits for the one before"},
        {"s-a", "reads of one array by all"},
        {"s-l", "loads in order from one array by all"},
        {"s-lms", "all add to numbers of one array"},
        {"s-lms-l", "one adds to its number, the others read theirs"},
    });
    const auto* const found =
        std::ranges::find(meanings, pattern, [](const auto& it) { return it.first; });
    if (found != meanings.end())
        return found->second;
    return pattern.starts_with("f-") ? "floating-point arithmetic" : "";
}

std::string machineWords(const Entry& entry) {
    const Host& host = entry.host();
    std::string text = host.name + " has " + counted(host.cpus, "CPU");
    if (host.packages != 0)
        text += " in " + counted(host.packages, "package");
    text += " (" + host.processor + ")";
    if (host.memoryBytes != 0)
        text += " and " + sizeText(host.memoryBytes) + " of memory";
    const Json& facts = entry.session->facts;
    text += ". It ran " + factText(facts, "/system/operating_system") + ", kernel " +
            factText(facts, "/system/kernel_release");
    const std::string hypervisor = factText(facts, "/system/hypervisor");
    if (hypervisor != "None" && hypervisor != unknownFact)
        text += ", as a guest: its hypervisor calls itself " + hypervisor;
    return text + ".";
}

std::string summaryOf(const Entry& entry) {
    const Session& session = *entry.session;
    std::string html;
    if (!session.complete)
        html +=
            "<p class=\"warning\">The session was cut short: this is what it had measured.</p>\n";
    for (const Hierarchy& hierarchy : hierarchiesOf(session)) {
        std::string items;
        for (const std::string& pattern : hierarchy.patterns)
            if (const std::string words = levelWords(hierarchy, pattern); !words.empty())
                items += "<li>" + escaped(words) + "</li>\n";
        if (!items.empty())
            html += paragraph("On " + hierarchy.place + ":") + "<ul>\n" + items + "</ul>\n";
    }
    Counts counts;
    for (const Point& point : session.points)
        ++counts[point.verdict];
    html += paragraph(verdictWords(session, counts)) + causeList(session);
    if (const std::string least = leastCertain(session); !least.empty())
        html += paragraph(least);
    return html + warnings(session);
}

}  // namespace survey
