/// What a survey leaves behind: one host's sessions, their points, and all samples of them. The
/// format is "kestrel-survey/1", docs/kestrel-survey.schema.json.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "survey/evidence.h"
#include "survey/file.h"
#include "survey/point.h"
#include "survey/statistics.h"

namespace survey {

using Json = nlohmann::ordered_json;

inline constexpr const char* schemaName = "kestrel-survey/1";

/// What one worker did while passes counted.
struct WorkerWork {
    unsigned cpu = 0;
    double work = 0;  ///< bytes, operations, loads or accesses, by the point's unit
    std::uint64_t ticks = 0, passes = 0;
};

/// How a sample came about.
struct Detail {
    std::string started;  ///< UTC, ISO 8601 with milliseconds
    unsigned round = 0;   ///< from 1
    unsigned order = 0;   ///< place in its round, from 1
    std::vector<WorkerWork> workers;
    std::optional<double> clockHz;             ///< the core's, right after; the slowest of several
    std::optional<double> loadBytesPerSecond;  ///< what the readers beside it obtained together
    Evidence evidence;

    [[nodiscard]] std::uint64_t fewestPasses() const;
    [[nodiscard]] std::uint64_t mostTicks() const;
};

enum class Verdict { ok, noisy, invalid, unsupported };

struct Point {
    std::string plan;  ///< the plan that it belongs to, "points" for a user's own
    Parameters parameters;
    std::uint64_t arrayBytes = 0;  ///< in whole pages; 0 where the pattern has no array
    std::optional<double> limit;   ///< what the units of the cores allow, in the point's unit
    std::optional<double> limitPerCycle;  ///< of one worker; while measuring, not in the file
    std::string unsupported;              ///< why it cannot be measured here; empty where it can
    std::vector<double> samples;          ///< in the point's unit
    std::vector<Detail> details;  ///< one for each sample; left out where only results are read

    // What follows from the above: judge fills it in.
    Summary summary;
    Verdict verdict = Verdict::unsupported;
    std::vector<std::string> causes;
    std::optional<double> load;  ///< B/s that readers beside it obtained, the median

    [[nodiscard]] Unit unit() const { return unitOf(parameters); }
};

/// The program that measured.
struct Program {
    std::string version, commit, compiler;
    unsigned width = 8 * sizeof(void*);  ///< bits of an address
};
Program thisProgram();

/// What is compared only between points measured in one go.
struct Session {
    std::string id;  ///< unique
    std::string label, started, ended, plan, command, bootId, estimator = estimatorName;
    bool complete = false;
    std::uint64_t seed = 0;
    unsigned rounds = 0;  ///< planned
    Program program;
    Json facts;            ///< machine-facts/1, as of the start
    Json settings;         ///< what `check` said of the machine, as of the start
    double counterHz = 0;  ///< one rate for all samples
    std::optional<bool> counterConstant;
    std::vector<Point> points;
};

/// What tells a host from others, and one processor model from others.
struct Host {
    std::string name;
    std::string processor;  ///< the brand text, "unknown" where there is none
    std::uint64_t cpus = 0, packages = 0, memoryBytes = 0;  ///< 0: not known

    /// Whether a session of `other` may stand in a file of this one.
    [[nodiscard]] bool sameAs(const Host& other) const {
        return name == other.name && processor == other.processor && cpus == other.cpus;
    }
};

struct Survey {
    Host host;
    std::vector<Session> sessions;
};

/// As the file has them.
Json toJson(const Parameters& it);
/// A point as it stands in the file, less its samples' details.
Json resultsOf(const Point& it);

/// The text of a survey file: a point a line.
std::string textOf(const Survey& survey);
/// What follows from the samples is computed anew. Throws std::runtime_error with the reason.
Survey parseSurvey(const std::string& text);

/// Throw FileError.
Survey readSurvey(const std::string& path);
/// For who reads many files: without facts, settings and the samples' details, which are nine
/// tenths of a file. Figures are computed from the samples; what only the details show is the
/// file's word.
Survey readResults(const std::string& path);
/// The same the other way round: without points.
Survey readFacts(const std::string& path);
void writeSurvey(const std::string& path, const Survey& survey);

}  // namespace survey
