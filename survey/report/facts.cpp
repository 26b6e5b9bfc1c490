#include "survey/report/facts.h"

#include <algorithm>
#include <functional>
#include <set>

#include "survey/columns.h"

namespace survey {
namespace {

using Text = std::function<std::string(const Entry&)>;
using Rows = std::vector<std::pair<std::string, Text>>;

/// The array at a place, or an empty one.
Json listAt(const Json& facts, const std::string& place) {
    const Json::json_pointer pointer(place);
    if (facts.is_object() && facts.contains(pointer) && facts.at(pointer).is_array())
        return facts.at(pointer);
    return Json::array();
}

std::string sizeAt(const Json& json, const std::string& place) {
    const Json::json_pointer pointer(place);
    if (!json.is_object() || !json.contains(pointer) || !json.at(pointer).is_number_integer())
        return unknownFact;
    return sizeText(json.at(pointer).get<std::uint64_t>());
}

std::string gigahertz(double hertz) {
    return hertz > 0 ? figureText(hertz * 1e-9) + " GHz" : unknownFact;
}

std::string clockAt(const Json& facts, const std::string& place) {
    const Json::json_pointer pointer(place);
    const bool known =
        facts.is_object() && facts.contains(pointer) && facts.at(pointer).is_number();
    return known ? gigahertz(facts.at(pointer).get<double>()) : unknownFact;
}

/// Each text once, in their order.
std::string listOf(const std::vector<std::string>& texts) {
    std::set<std::string> seen;
    std::string all;
    for (const std::string& text : texts)
        if (seen.insert(text).second)
            all += (all.empty() ? "" : "; ") + text;
    return all.empty() ? unknownFact : all;
}

std::string caches(const Json& facts) {
    std::vector<std::string> texts;
    for (const Json& cache : listAt(facts, "/caches"))
        texts.push_back("L" + factText(cache, "/level") + " " + factText(cache, "/type") + " " +
                        sizeAt(cache, "/size_bytes") + ", " + factText(cache, "/ways") + " ways");
    return listOf(texts);
}

std::string nodes(const Json& facts) {
    std::vector<std::string> texts;
    for (const Json& node : listAt(facts, "/nodes"))
        texts.push_back("node " + factText(node, "/node") + ": CPUs " + factText(node, "/cpus") +
                        ", " + sizeAt(node, "/memory_bytes"));
    return listOf(texts);
}

std::string hugePages(const Json& facts) {
    std::vector<std::string> texts;
    for (const Json& kind : listAt(facts, "/memory/huge_pages"))
        texts.push_back(factText(kind, "/pages") + " of " + sizeAt(kind, "/page_bytes"));
    return listOf(texts);
}

std::string governors(const Json& facts) {
    std::vector<std::string> texts;
    for (const Json& each : listAt(facts, "/power/governors"))
        texts.push_back(factText(each, "/governor") + " on CPUs " + factText(each, "/cpus"));
    return texts.empty() ? factText(facts, "/power/governors") : listOf(texts);
}

std::string cpuQuota(const Json& facts) {
    const bool none = factText(facts, "/limits/cpu_quota/limited") == "no";
    return none ? "none" : factText(facts, "/limits/cpu_quota/cpus");
}

std::string instructionSets(const Json& facts) {
    std::vector<std::string> texts;
    const Json::json_pointer place("/processor/instruction_sets");
    if (facts.is_object() && facts.contains(place) && facts.at(place).is_object())
        for (const auto& [name, has] : facts.at(place).items())
            if (has == true)
                texts.push_back(name);
    return listOf(texts);
}

/// What the kernel does about faults of the processor: it changes figures.
std::string mitigations(const Json& facts) {
    std::vector<std::string> texts;
    const Json::json_pointer place("/processor/vulnerabilities");
    if (facts.is_object() && facts.contains(place) && facts.at(place).is_object())
        for (const auto& [name, says] : facts.at(place).items())
            if (says.is_string() && says != "Not affected")
                texts.push_back(name + ": " + says.get<std::string>());
    return listOf(texts);
}

Text fact(const std::string& place) {
    return [place](const Entry& entry) { return factText(entry.session->facts, place); };
}

Text fact(std::string (*text)(const Json&)) {
    return [text](const Entry& entry) { return text(entry.session->facts); };
}

Text size(const std::string& place) {
    return [place](const Entry& entry) { return sizeAt(entry.session->facts, place); };
}

Text clock(const std::string& place) {
    return [place](const Entry& entry) { return clockAt(entry.session->facts, place); };
}

std::string familyText(const Entry& entry) {
    const Json& facts = entry.session->facts;
    return factText(facts, "/processor/family") + ", " + factText(facts, "/processor/model") +
           ", " + factText(facts, "/processor/stepping");
}

Rows factRows() {
    return {{"processor", fact("/processor/name")},
            {"vendor", fact("/processor/vendor")},
            {"family, model, stepping", familyText},
            {"microcode", fact("/processor/microcode")},
            {"nominal clock", clock("/processor/nominal_frequency_hz")},
            {"nominal clock told by", fact("/processor/nominal_frequency_source")},
            {"instruction sets", fact(instructionSets)},
            {"packages", fact("/topology/packages")},
            {"cores", fact("/topology/cores")},
            {"CPUs online", fact("/topology/online_cpus")},
            {"CPUs allowed", fact("/limits/cpus")},
            {"CPU quota", fact(cpuQuota)},
            {"caches", fact(caches)},
            {"nodes", fact(nodes)},
            {"memory", size("/memory/total_bytes")},
            {"memory modules", fact("/memory/modules")},
            {"memory transfers a second", fact("/memory/transfers_per_s")},
            {"page", size("/memory/page_bytes")},
            {"huge pages", fact(hugePages)},
            {"transparent huge pages", fact("/memory/transparent_huge_pages")},
            {"NUMA balancing", fact("/memory/numa_balancing")},
            {"swap used", size("/memory/swap_used_bytes")},
            {"clock governor", fact(governors)},
            {"clock driver", fact("/power/scaling_driver")},
            {"boost", fact("/power/boost")},
            {"SMT", fact("/power/smt_control")},
            {"operating system", fact("/system/operating_system")},
            {"kernel", fact("/system/kernel_release")},
            {"kernel parameters", fact("/system/kernel_parameters")},
            {"architecture", fact("/system/architecture")},
            {"hypervisor", fact("/system/hypervisor")},
            {"clock source", fact("/system/clock_source")},
            {"isolated CPUs", fact("/system/isolated_cpus")},
            {"faults of the processor", fact(mitigations)}};
}

Rows methodRows() {
    const auto session = [](auto field) {
        return [field](const Entry& entry) -> std::string { return (*entry.session).*field; };
    };
    return {{"file", [](const Entry& it) { return it.file->path; }},
            {"label", session(&Session::label)},
            {"plan", session(&Session::plan)},
            {"started", session(&Session::started)},
            {"ended", session(&Session::ended)},
            {"complete", [](const Entry& it) { return it.session->complete ? "yes" : "no"; }},
            {"rounds", [](const Entry& it) { return std::to_string(it.session->rounds); }},
            {"seed", [](const Entry& it) { return std::to_string(it.session->seed); }},
            {"estimator", session(&Session::estimator)},
            {"time-stamp counter",
             [](const Entry& it) {
                 const auto constant = it.session->counterConstant;
                 return gigahertz(it.session->counterHz) + (!constant ? ", not known to be constant"
                                                            : *constant ? ", constant"
                                                                        : ", not constant");
             }},
            {"program",
             [](const Entry& it) {
                 const Program& program = it.session->program;
                 return program.version + " (" + program.commit + ", " + program.compiler + ", " +
                        std::to_string(program.width) + " bits)";
             }},
            {"command", session(&Session::command)}};
}

/// A column for each entry; where rows are to be alike, those that are not are marked.
Table tableFrom(const Rows& rows, const std::string& corner, const std::vector<Entry>& entries,
                bool alike = true) {
    Table table{.caption = {}, .heads = {corner}, .rows = {}, .figures = false};
    for (const Entry& entry : entries)
        table.heads.push_back(entry.name);
    for (const auto& [name, text] : rows) {
        std::vector<Cell> row{{name}};
        for (const Entry& entry : entries)
            row.push_back({text(entry)});
        const bool differs = alike && std::any_of(row.begin() + 1, row.end(), [&](const Cell& it) {
                                 return it.text != row[1].text;
                             });
        if (differs)
            row.front() = {name, "differs", "differs"};
        table.rows.push_back(std::move(row));
    }
    return table;
}

}  // namespace

std::string factText(const Json& facts, const std::string& place) {
    const Json::json_pointer pointer(place);
    if (!facts.is_object() || !facts.contains(pointer))
        return unknownFact;
    const Json& found = facts.at(pointer);
    if (found.is_null())
        return unknownFact;
    if (found.is_boolean())
        return found.get<bool>() ? "yes" : "no";
    if (found.is_string())
        return found.get<std::string>().empty() ? "none" : found.get<std::string>();
    if (!found.is_array())
        return found.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string all;
    for (const Json& each : found)
        all +=
            (all.empty() ? "" : " ") + (each.is_string() ? each.get<std::string>() : each.dump());
    return all.empty() ? "none" : all;
}

std::vector<SettingRow> settingRows(const Session& session) {
    std::vector<SettingRow> rows;
    if (session.settings.is_array())
        for (const Json& each : session.settings)
            rows.push_back({factText(each, "/name"), factText(each, "/standing"),
                            factText(each, "/found"),
                            each.is_object() && each.value("advice", Json()) == Json("")
                                ? std::string()
                                : factText(each, "/advice")});
    return rows;
}

Table factTable(const std::vector<Entry>& entries) {
    return tableFrom(factRows(), "fact", entries);
}

Table settingTable(const std::vector<Entry>& entries) {
    Rows rows;
    for (const Entry& entry : entries)
        for (const SettingRow& setting : settingRows(*entry.session)) {
            const auto text = [name = setting.name](const Entry& of) {
                for (const SettingRow& it : settingRows(*of.session))
                    if (it.name == name)
                        return it.standing + ": " + it.found +
                               (it.advice.empty() ? "" : "; " + it.advice);
                return std::string(unknownFact);
            };
            if (std::ranges::find(rows, setting.name, &Rows::value_type::first) == rows.end())
                rows.emplace_back(setting.name, text);
        }
    return tableFrom(rows, "setting", entries);
}

Table methodTable(const std::vector<Entry>& entries) {
    return tableFrom(methodRows(), "session", entries, false);
}

}  // namespace survey
