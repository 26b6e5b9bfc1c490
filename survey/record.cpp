#include "survey/record.h"

#include <algorithm>

#include "survey/skim.h"
#include "survey/verdict.h"
#include "versionkit/version.h"

namespace survey {
namespace {

/// One line; bytes that are no UTF-8, as a label may hold, become U+FFFD.
std::string lineOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

template <class Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

template <class Value>
std::optional<Value> optionalAt(const Json& json, const char* name) {
    const auto found = json.find(name);
    if (found == json.end() || found->is_null())
        return std::nullopt;
    return found->get<Value>();
}

Parameters parametersFrom(const Json& json) {
    Parameters it{.pattern = json.at("pattern").get<std::string>(),
                  .sizeBytes = optionalAt<std::uint64_t>(json, "size_bytes"),
                  .wordBytes = optionalAt<std::uint32_t>(json, "word_bytes"),
                  .strideBytes = optionalAt<std::uint32_t>(json, "stride_bytes"),
                  .cpus = json.at("cpus").get<std::vector<unsigned>>(),
                  .nodes = optionalAt<machine::NumberList>(json, "nodes"),
                  .pages = {},
                  .loadCpus = json.value("load_cpus", std::vector<unsigned>())};
    if (const auto pages = optionalAt<std::string>(json, "pages")) {
        it.pages = pageKindNamed(*pages);
        if (!it.pages)
            throw std::runtime_error("there is no page kind '" + *pages + "'");
    }
    rowOf(it);  // throws where there is no such pattern
    return it;
}

Json toJson(const Detail& it) {
    Json workers = Json::array();
    for (const WorkerWork& worker : it.workers)
        workers.push_back({{"cpu", worker.cpu},
                           {"work", worker.work},
                           {"ticks", worker.ticks},
                           {"passes", worker.passes}});
    return {{"start", it.started},
            {"round", it.round},
            {"order", it.order},
            {"passes", it.fewestPasses()},
            {"ticks", it.mostTicks()},
            {"workers", workers},
            {"clock_hz", orNull(it.clockHz)},
            {"load", orNull(it.loadBytesPerSecond)},
            {"evidence", it.evidence}};
}

Detail detailFrom(const Json& json) {
    Detail it{.started = json.at("start").get<std::string>(),
              .round = json.at("round").get<unsigned>(),
              .order = json.at("order").get<unsigned>(),
              .workers = {},
              .clockHz = optionalAt<double>(json, "clock_hz"),
              .loadBytesPerSecond = optionalAt<double>(json, "load"),
              .evidence = {}};
    for (const Json& worker : json.at("workers"))
        it.workers.push_back({worker.at("cpu").get<unsigned>(), worker.at("work").get<double>(),
                              worker.at("ticks").get<std::uint64_t>(),
                              worker.at("passes").get<std::uint64_t>()});
    for (const auto& [key, value] : json.at("evidence").items())
        if (!value.is_null())
            it.evidence[key] = value.get<double>();
    return it;
}

Json toJson(const Point& it) {
    const UnitText& unit = textOf(it.unit());
    const bool known = it.summary.count != 0;
    const auto orUnknown = [known](double value) { return known ? Json(value) : Json(); };
    Json details = Json::array();
    for (const Detail& detail : it.details)
        details.push_back(toJson(detail));
    return {{"plan", it.plan},
            {"parameters", toJson(it.parameters)},
            {"array_bytes", it.arrayBytes},
            {"unit", unit.inFile},
            {"better", unit.higherIsBetter ? "higher" : "lower"},
            {"limit", orNull(it.limit)},
            {"unsupported", it.unsupported.empty() ? Json() : Json(it.unsupported)},
            {"value", orUnknown(it.summary.value)},
            {"median", orUnknown(it.summary.median)},
            {"min", orUnknown(it.summary.min)},
            {"max", orUnknown(it.summary.max)},
            {"cv", orUnknown(it.summary.cv)},
            {"interval", known ? Json{it.summary.low, it.summary.high} : Json()},
            {"verdict", nameOf(it.verdict)},
            {"causes", it.causes},
            {"load", orNull(it.load)},
            {"samples", it.samples},
            {"details", details}};
}

/// What the JSON library says, less its own name and number in brackets.
std::string plain(const std::string& what) {
    const std::size_t end = what.starts_with('[') ? what.find("] ") : std::string::npos;
    return end != std::string::npos ? what.substr(end + 2) : what;
}

/// Reads each of an array's elements; what is wrong with one is told with its place.
template <class Read>
auto allFrom(const Json& json, const char* name, Read read) {
    std::vector<decltype(read(json))> all;
    for (const Json& element : json.at(name))
        try {
            all.push_back(read(element));
        } catch (const nlohmann::json::exception& failure) {
            throw std::runtime_error(std::string(name) + "[" + std::to_string(all.size()) +
                                     "]: " + plain(failure.what()));
        } catch (const std::runtime_error& failure) {
            throw std::runtime_error(std::string(name) + "[" + std::to_string(all.size()) +
                                     "]: " + failure.what());
        }
    return all;
}

/// With the file's word on what follows from the samples.
Point pointFrom(const Json& json) {
    Point it;
    it.plan = json.at("plan").get<std::string>();
    it.parameters = parametersFrom(json.at("parameters"));
    it.arrayBytes = json.at("array_bytes").get<std::uint64_t>();
    it.limit = optionalAt<double>(json, "limit");
    it.unsupported = json.value("unsupported", Json()).is_null()
                         ? std::string()
                         : json.at("unsupported").get<std::string>();
    it.samples = json.at("samples").get<std::vector<double>>();
    it.causes = json.at("causes").get<std::vector<std::string>>();
    it.load = optionalAt<double>(json, "load");
    const auto verdict = verdictNamed(json.at("verdict").get<std::string>());
    if (!verdict)
        throw std::runtime_error("there is no verdict " + json.at("verdict").dump());
    it.verdict = *verdict;
    if (std::ranges::any_of(it.samples, [](double sample) { return !(sample > 0); }))
        throw std::runtime_error("a sample is not positive");
    if (json.contains("details"))
        it.details = allFrom(json, "details", detailFrom);
    if (!it.details.empty() && it.details.size() != it.samples.size())
        throw std::runtime_error("samples and details differ in number");
    return it;
}

Json headOf(const Session& it) {
    return {{"id", it.id},
            {"label", it.label},
            {"started", it.started},
            {"ended", it.ended},
            {"complete", it.complete},
            {"plan", it.plan},
            {"rounds", it.rounds},
            {"seed", it.seed},
            {"command", it.command},
            {"program",
             {{"version", it.program.version},
              {"commit", it.program.commit},
              {"compiler", it.program.compiler},
              {"width", it.program.width}}},
            {"boot_id", it.bootId},
            {"counter_hz", it.counterHz},
            {"counter_constant", orNull(it.counterConstant)},
            {"estimator", it.estimator},
            {"thresholds",
             {{"noisy_half_width", noisyHalfWidth},
              {"fewest_samples", fewestSamples},
              {"fewest_passes", fewestPasses},
              {"limit_tolerance", limitTolerance}}},
            {"facts", it.facts},
            {"settings", it.settings}};
}

Session sessionFrom(const Json& json) {
    Session it;
    it.id = json.at("id").get<std::string>();
    it.label = json.at("label").get<std::string>();
    it.started = json.at("started").get<std::string>();
    it.ended = json.at("ended").get<std::string>();
    it.complete = json.at("complete").get<bool>();
    it.plan = json.at("plan").get<std::string>();
    it.rounds = json.at("rounds").get<unsigned>();
    it.seed = json.at("seed").get<std::uint64_t>();
    it.command = json.at("command").get<std::string>();
    const Json& program = json.at("program");
    it.program = {program.at("version").get<std::string>(), program.at("commit").get<std::string>(),
                  program.at("compiler").get<std::string>(), program.at("width").get<unsigned>()};
    it.bootId = json.at("boot_id").get<std::string>();
    it.counterHz = json.at("counter_hz").get<double>();
    it.counterConstant = optionalAt<bool>(json, "counter_constant");
    it.estimator = json.at("estimator").get<std::string>();
    it.facts = json.value("facts", Json());
    it.settings = json.value("settings", Json());
    it.points = allFrom(json, "points", pointFrom);
    return it;
}

Json toJson(const Host& it) {
    return {{"name", it.name},
            {"processor", it.processor},
            {"cpus", it.cpus},
            {"packages", it.packages},
            {"memory_bytes", it.memoryBytes}};
}

Host hostFrom(const Json& json) {
    return {.name = json.at("name").get<std::string>(),
            .processor = json.at("processor").get<std::string>(),
            .cpus = json.at("cpus").get<std::uint64_t>(),
            .packages = json.at("packages").get<std::uint64_t>(),
            .memoryBytes = json.at("memory_bytes").get<std::uint64_t>()};
}

void checkSchema(const Json& json) {
    const auto found = json.is_object() ? json.find("schema") : json.end();
    const std::string schema =
        found != json.end() && found->is_string() ? found->get<std::string>() : "";
    const std::string family = "kestrel-survey/";
    if (!schema.starts_with(family))
        throw std::runtime_error("not a file of kestrel-survey");
    if (schema != schemaName)
        throw std::runtime_error("written by a newer kestrel-survey (format " +
                                 schema.substr(family.size()) + ")");
}

Survey surveyFrom(const Json& json) {
    checkSchema(json);
    Survey it{.host = hostFrom(json.at("host")),
              .sessions = allFrom(json, "sessions", sessionFrom)};
    if (it.sessions.empty())
        throw std::runtime_error("it holds no session");
    return it;
}

template <class Parse>
Survey parsed(Parse parse) {
    try {
        return surveyFrom(parse());
    } catch (const nlohmann::json::parse_error&) {
        throw std::runtime_error("not a file of kestrel-survey: no whole JSON text");
    } catch (const nlohmann::json::exception& failure) {
        throw std::runtime_error("damaged: " + plain(failure.what()));
    } catch (const std::invalid_argument& failure) {
        throw std::runtime_error(std::string("damaged: ") + failure.what());
    }
}

Survey readWithout(const std::string& path, std::initializer_list<std::string_view> names) {
    const std::string text = readFile(path);
    try {
        Survey survey = parsed([&] { return Json::parse(withoutMembers(text, names)); });
        for (Session& session : survey.sessions)
            for (Point& point : session.points)
                judgeByFile(point);
        return survey;
    } catch (const std::runtime_error& failure) {
        throw FileError(path, failure.what());
    }
}

}  // namespace

Json toJson(const Parameters& it) {
    Json json{{"pattern", it.pattern},
              {"size_bytes", orNull(it.sizeBytes)},
              {"word_bytes", orNull(it.wordBytes)},
              {"stride_bytes", orNull(it.strideBytes)},
              {"cpus", it.cpus},
              {"nodes", orNull(it.nodes)},
              {"pages", it.pages ? Json(nameOf(*it.pages)) : Json()}};
    if (!it.loadCpus.empty())
        json["load_cpus"] = it.loadCpus;
    return json;
}

std::uint64_t Detail::fewestPasses() const {
    std::uint64_t fewest = workers.empty() ? 0 : UINT64_MAX;
    for (const WorkerWork& worker : workers)
        fewest = std::min(fewest, worker.passes);
    return fewest;
}

std::uint64_t Detail::mostTicks() const {
    std::uint64_t most = 0;
    for (const WorkerWork& worker : workers)
        most = std::max(most, worker.ticks);
    return most;
}

std::string textOf(const Survey& survey) {
    std::string text = "{\"schema\": " + lineOf(schemaName) +
                       ",\n\"host\": " + lineOf(toJson(survey.host)) + ",\n\"sessions\": [";
    const char* beforeSession = "\n";
    for (const Session& session : survey.sessions) {
        std::string head = lineOf(headOf(session));
        head.pop_back();  // the points stand in the same object
        text += beforeSession + head + ",\n\"points\": [";
        beforeSession = ",\n";
        const char* beforePoint = "\n";
        for (const Point& point : session.points) {
            text += beforePoint + lineOf(toJson(point));
            beforePoint = ",\n";
        }
        text += "\n]}";
    }
    return text + "\n]}\n";
}

Survey parseSurvey(const std::string& text) {
    Survey survey = parsed([&] { return Json::parse(text); });
    for (Session& session : survey.sessions)
        judge(session);
    return survey;
}

Survey readSurvey(const std::string& path) {
    const std::string text = readFile(path);
    try {
        return parseSurvey(text);
    } catch (const std::runtime_error& failure) {
        throw FileError(path, failure.what());
    }
}

Survey readResults(const std::string& path) {
    return readWithout(path, {"details", "facts", "settings"});
}

Survey readFacts(const std::string& path) {
    return readWithout(path, {"points"});
}

void writeSurvey(const std::string& path, const Survey& survey) {
    replaceFile(path, textOf(survey));
}

Program thisProgram() {
    return {.version = versionkit::number,
            .commit = versionkit::commit,
            .compiler = versionkit::compiler};
}

}  // namespace survey
