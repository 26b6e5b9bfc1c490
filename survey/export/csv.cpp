#include "survey/export/export.h"
#include "survey/verdict.h"

namespace survey {
namespace {

/// A cell as JSON has it: null is an empty one.
using CsvRow = std::vector<Json>;

std::string cellText(const Json& cell) {
    if (cell.is_null())
        return "";
    if (!cell.is_string())
        return cell.dump();
    const auto& text = cell.get_ref<const std::string&>();
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char character : text)
        quoted.append(character == '"' ? 2 : 1, character);
    return quoted + '"';
}

std::string lineOf(const CsvRow& row) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i)
        line.append(i == 0 ? "" : ",").append(cellText(row[i]));
    return line + '\n';
}

template <class Value>
Json orEmpty(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

CsvRow head() {
    CsvRow names{"host",    "processor",  "session",    "label",        "version", "plan",
                 "pattern", "size_bytes", "word_bytes", "stride_bytes", "cpus",    "nodes",
                 "pages",   "load_cpus",  "unit",       "verdict",      "causes",  "sample",
                 "value",   "start",      "round",      "order",        "passes",  "load"};
    for (const EvidenceKind& kind : evidenceKinds())
        names.emplace_back(kind.key);
    return names;
}

std::string causesText(const Point& point) {
    std::string text;
    for (const std::string& cause : point.causes)
        text += (text.empty() ? "" : "; ") + cause;
    return text;
}

/// The cells that all samples of a point share.
CsvRow cellsOf(const Host& host, const Session& session, const Point& point) {
    const Parameters& it = point.parameters;
    return {host.name,
            host.processor,
            session.id,
            session.label,
            session.program.version,
            point.plan,
            it.pattern,
            orEmpty(it.sizeBytes),
            orEmpty(it.wordBytes),
            orEmpty(it.strideBytes),
            cpusText(it.cpus),
            it.nodes ? Json(machine::listText(*it.nodes)) : Json(),
            it.pages ? Json(nameOf(*it.pages)) : Json(),
            it.loadCpus.empty() ? Json() : Json(cpusText(it.loadCpus)),
            textOf(point.unit()).inFile,
            nameOf(point.verdict),
            causesText(point)};
}

void addDetail(CsvRow& row, const Detail& detail) {
    for (const Json& cell : CsvRow{detail.started, detail.round, detail.order,
                                   detail.fewestPasses(), orEmpty(detail.loadBytesPerSecond)})
        row.push_back(cell);
    for (const EvidenceKind& kind : evidenceKinds()) {
        const auto found = detail.evidence.find(kind.key);
        row.push_back(found != detail.evidence.end() ? Json(found->second) : Json());
    }
}

}  // namespace

std::string csvOf(const Survey& survey) {
    const CsvRow names = head();
    std::string text = lineOf(names);
    for (const Session& session : survey.sessions)
        for (const Point& point : session.points) {
            const CsvRow shared = cellsOf(survey.host, session, point);
            for (std::size_t i = 0; i < point.samples.size(); ++i) {
                CsvRow row = shared;
                row.emplace_back(i + 1);
                row.emplace_back(point.samples[i]);
                if (i < point.details.size())
                    addDetail(row, point.details[i]);
                row.resize(names.size());
                text += lineOf(row);
            }
        }
    return text;
}

}  // namespace survey
