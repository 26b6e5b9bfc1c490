#include "survey/report/report.h"

#include <sys/stat.h>

#include <iterator>
#include <set>

#include "survey/columns.h"
#include "survey/report/embedded.h"
#include "survey/report/facts.h"
#include "survey/report/pictures.h"
#include "survey/report/words.h"
#include "survey/verdict.h"

namespace survey {
namespace {

/// What a page begins with that this program made; page.html has it.
constexpr std::string_view generator =
    "<meta name=\"generator\" content=\"kestrel-survey report\">";

std::string section(const std::string& title, const std::string& html) {
    return html.empty() ? ""
                        : "<section>\n<h2>" + escaped(title) + "</h2>\n" + html + "</section>\n";
}

std::string titleOf(const std::vector<Entry>& entries) {
    std::set<std::string> hosts;
    for (const Entry& entry : entries)
        hosts.insert(entry.host().name);
    if (entries.size() == 1)
        return "Survey of " + *hosts.begin();
    return std::to_string(entries.size()) + " sessions of " +
           (hosts.size() == 1 ? *hosts.begin() : std::to_string(hosts.size()) + " hosts");
}

std::string summaries(const std::vector<Entry>& entries) {
    std::string html;
    std::string said;
    for (const Entry& entry : entries) {
        if (entries.size() > 1)
            html += "<h3>" + escaped(entry.name) + "</h3>\n";
        if (const std::string machine = machineWords(entry); machine != said) {
            html += paragraph(machine);
            said = machine;
        }
        html += summaryOf(entry);
    }
    return html;
}

/// The charts that are drawn, as HTML and for the script.
class Drawings {
  public:
    std::string add(const std::vector<Chart>& charts) {
        std::string html;
        for (const Chart& chart : charts) {
            if (chart.axis == Axis::none) {
                html += "<h3>" + escaped(chart.title) + "</h3>\n" + htmlOf(tableOf(chart));
                continue;
            }
            const std::string id = "chart-" + std::to_string(data.size() + 1);
            data.push_back(toJson(chart, id));
            html += "<figure>\n<figcaption>" + escaped(chart.title) +
                    "</figcaption>\n<div class=\"chart\"><canvas id=\"" + id +
                    "\" role=\"img\" aria-label=\"" + escaped(chart.title) +
                    "; the table below holds its figures\"></canvas></div>\n" +
                    folded("The figures as a table", htmlOf(tableOf(chart))) + "</figure>\n";
        }
        return html;
    }
    Json data = Json::array();
};

std::string matrices(const std::vector<Entry>& entries,
                     std::vector<Table> (*tables)(const Entry& entry)) {
    std::string html;
    for (const Entry& entry : entries) {
        std::string own;
        for (const Table& table : tables(entry))
            own += htmlOf(table);
        if (!own.empty() && entries.size() > 1)
            html += "<h3>" + escaped(entry.name) + "</h3>\n";
        html += own;
    }
    return html.empty() ? "" : paragraph("The deeper the colour, the slower.") + html;
}

std::string verdictText(const Point& point) {
    std::string text(nameOf(point.verdict));
    for (const std::string& cause : point.causes)
        text += (&cause == &point.causes.front() ? ": " : ", ") + cause;
    return text;
}

/// As in the tables for a terminal, but with all causes.
Table pointTable(const PointTable& points) {
    Table table{.caption = points.plan + ", " + std::string(textOf(points.unit).forPeople),
                .heads = {},
                .rows = {}};
    const std::vector<Column> columns = columnsFor(points.points);
    for (const Column& column : columns)
        table.heads.push_back(column.head);
    for (const Point* const point : points.points) {
        std::vector<Cell> row;
        row.reserve(columns.size());
        for (const Column& column : columns)
            row.push_back({column.text(*point), "", column.left ? textLook : ""});
        row.back().text = verdictText(*point);
        table.rows.push_back(std::move(row));
    }
    return table;
}

std::string allPoints(const std::vector<Entry>& entries) {
    // A fleet's would make a page that no browser likes.
    constexpr std::size_t mostSessions = 16;
    if (entries.size() > mostSessions)
        return paragraph("With more than " + std::to_string(mostSessions) +
                         " sessions they are left out here: kestrel-survey show has them.");
    std::string html;
    for (const Entry& entry : entries) {
        std::vector<const Point*> points;
        for (const Point& point : entry.session->points)
            points.push_back(&point);
        std::string tables;
        for (const PointTable& each : tablesOf(points))
            tables += htmlOf(pointTable(each));
        html += folded(std::to_string(points.size()) + " points of " + entry.name, tables);
    }
    return html;
}

std::string methodWords() {
    return "A survey takes its samples in rounds, each of all points in an order of its own. A "
           "figure is the median of a point's samples; its interval lies between the two samples "
           "that hold the true median in at least 93 % of all cases. A point is noisy (~, a hollow "
           "mark) where half of its interval is more than " +
           percentText(noisyHalfWidth) + " of the figure, where it has fewer than " +
           std::to_string(fewestSamples) +
           " samples, or where something took a large part of its CPU away; its causes are what "
           "was "
           "seen beside the samples that differ. A point is invalid where it cannot be what was "
           "asked for: a sample of fewer than " +
           std::to_string(fewestPasses) + " passes, a figure more than " +
           percentText(limitTolerance) +
           " above what the core can do, memory on other nodes, or a counter without a constant "
           "rate.";
}

/// What the patterns of these sessions do.
Table patternTable(const std::vector<Entry>& entries) {
    std::set<std::string> patterns;
    for (const Entry& entry : entries)
        for (const Point& point : entry.session->points)
            if (!meaningOf(point.parameters.pattern).empty())
                patterns.insert(point.parameters.pattern);
    Table table{.caption = {}, .heads = {"pattern", "what it does"}, .rows = {}, .figures = false};
    for (const std::string& pattern : patterns)
        table.rows.push_back({{pattern}, {std::string(meaningOf(pattern))}});
    return table;
}

std::string bodyOf(const std::vector<Entry>& entries, Drawings& drawings) {
    constexpr const char* marksWords =
        "A hollow mark is a noisy figure, its bar spans all samples. Dashed: what a cache holds.";
    const std::string size = drawings.add(sizeCharts(entries));
    const std::string sharing = matrices(entries, sharingMatrices);
    const std::string nodes = matrices(entries, nodeMatrices);
    return section("Summary", summaries(entries)) +
           section("Size", size.empty() ? "" : paragraph(marksWords) + size) +
           section("Scaling", drawings.add(scalingCharts(entries))) +
           section("Latency under load", drawings.add(loadedCharts(entries))) +
           section("Arithmetic",
                   drawings.add(rooflines(entries)) + drawings.add(kernelTables(entries))) +
           section("Lines shared by two CPUs", sharing) + section("Nodes", nodes) +
           section("All points", allPoints(entries)) +
           section("The host", folded("Facts", htmlOf(factTable(entries))) +
                                   folded("Settings", htmlOf(settingTable(entries)))) +
           section("How it was measured", paragraph(methodWords()) + htmlOf(methodTable(entries)) +
                                              folded("Patterns", htmlOf(patternTable(entries))));
}

}  // namespace

std::string reportOf(const std::vector<SurveyFile>& files) {
    const std::vector<Entry> entries = entriesOf(files);
    Drawings drawings;
    const std::string body = bodyOf(entries, drawings);
    const Program program = thisProgram();
    return filled(embedded::page,
                  {{"title", escaped(titleOf(entries))},
                   {"body", body},
                   {"data", scriptText(drawings.data)},
                   {"program", escaped(program.version + " (" + program.commit + ")")},
                   {"style", std::string(embedded::style)},
                   {"style-hash", std::string(embedded::styleHash)},
                   {"library", std::string(embedded::library)},
                   {"library-hash", std::string(embedded::libraryHash)},
                   {"licence", escaped(embedded::licence)},
                   {"script", std::string(embedded::script)},
                   {"script-hash", std::string(embedded::scriptHash)}});
}

bool isReport(std::string_view text) {
    constexpr std::size_t head = 512;
    return text.starts_with("<!DOCTYPE html>") &&
           text.substr(0, head).find(generator) != std::string_view::npos;
}

void writeReport(const std::string& path, const std::vector<SurveyFile>& files) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode))
            throw FileError(path, "is no ordinary file");
        if (status.st_size != 0 && !isReport(readFile(path)))
            throw FileError(path, "is no report, and is not replaced");
    }
    replaceFile(path, reportOf(files));
}

}  // namespace survey
