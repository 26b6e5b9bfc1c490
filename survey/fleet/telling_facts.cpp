#include "survey/fleet/telling_facts.h"

#include <array>
#include <set>

#include "survey/columns.h"

namespace survey {
namespace {

const std::string unknown = "unknown";

/// A list is its elements' texts, each once.
std::string textFrom(const Json& json) {
    if (json.is_null())
        return unknown;
    if (json.is_string())
        return json.get<std::string>().empty() ? "none" : json.get<std::string>();
    if (json.is_boolean())
        return json.get<bool>() ? "on" : "off";
    if (!json.is_array())
        return json.dump();
    std::set<std::string> texts;
    for (const Json& element : json)
        texts.insert(textFrom(element));
    std::string text;
    for (const std::string& each : texts)
        text += (text.empty() ? "" : " ") + each;
    return text.empty() ? "none" : text;
}

std::string plainText(const Json& value) {
    return textFrom(value);
}

std::string governorsText(const Json& governors) {
    Json names = Json::array();
    for (const Json& each : governors)
        names.push_back(each.value("governor", Json()));
    return textFrom(names);
}

std::string hugePagesText(const Json& kinds) {
    std::string text;
    for (const Json& kind : kinds)
        if (const auto pages = kind.value("pages", std::uint64_t{0}); pages != 0)
            text += (text.empty() ? "" : ", ") + std::to_string(pages) + " of " +
                    sizeText(kind.value("page_bytes", std::uint64_t{0}));
    return text.empty() ? "none" : text;
}

/// To three digits: firmware takes a little here and there.
std::string bytesText(const Json& bytes) {
    return figureText(bytes.get<double>() / (1 << 30)) + " GiB";
}

std::string rateText(const Json& transfers) {
    return figureText(transfers.get<double>() * 1e-6) + " MT/s";
}

struct FactRow {
    const char *name, *place;  ///< in machine-facts
    std::string (*text)(const Json& value) = plainText;
};

constexpr auto rows = std::to_array<FactRow>({
    {"governor", "/power/governors", governorsText},
    {"scaling driver", "/power/scaling_driver"},
    {"boost", "/power/boost"},
    {"memory speed", "/memory/transfers_per_s", rateText},
    {"memory modules", "/memory/modules"},
    {"memory", "/memory/total_bytes", bytesText},
    {"microcode", "/processor/microcode"},
    {"stepping", "/processor/stepping"},
    {"kernel", "/system/kernel_release"},
    {"kernel parameters", "/system/kernel_parameters"},
    {"operating system", "/system/operating_system"},
    {"hypervisor", "/system/hypervisor"},
    {"clock source", "/system/clock_source"},
    {"transparent huge pages", "/memory/transparent_huge_pages"},
    {"huge pages", "/memory/huge_pages", hugePagesText},
    {"NUMA balancing", "/memory/numa_balancing"},
    {"SMT", "/power/smt_control"},
    {"CPUs online", "/topology/online_cpus"},
    {"CPUs allowed", "/limits/cpus"},
    {"CPU quota", "/limits/cpu_quota/cpus"},
    {"isolated CPUs", "/system/isolated_cpus"},
});

std::string textAt(const Json& facts, const FactRow& row) {
    const Json::json_pointer place(row.place);
    if (!facts.is_object() || !facts.contains(place) || facts.at(place).is_null())
        return unknown;
    try {
        return row.text(facts.at(place));
    } catch (const Json::exception&) {  // a member that means something else by now
        return unknown;
    }
}

}  // namespace

std::vector<TellingFact> tellingFacts(const Session& session) {
    std::vector<TellingFact> facts;
    facts.reserve(rows.size() + 1);
    for (const FactRow& row : rows)
        facts.push_back({row.name, textAt(session.facts, row)});
    facts.push_back({"kestrel", session.program.version + " (" + session.program.commit + ", " +
                                    std::to_string(session.program.width) + " bits)"});
    return facts;
}

}  // namespace survey
