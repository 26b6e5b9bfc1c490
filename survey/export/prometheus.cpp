#include <array>
#include <map>
#include <optional>

#include "survey/clock_text.h"
#include "survey/export/export.h"
#include "survey/verdict.h"

namespace survey {
namespace {

struct Metric {
    const char *name, *help;
};

/// By the point's unit.
constexpr std::array<Metric, 4> figures{{
    {"kestrel_survey_bandwidth_bytes_per_second", "What all workers of a point moved together."},
    {"kestrel_survey_floating_point_operations_per_second",
     "What all workers of a point computed together."},
    {"kestrel_survey_load_seconds", "What a load waits that needs the one before it."},
    {"kestrel_survey_access_seconds", "What an access takes."},
}};
constexpr Metric trusted{"kestrel_survey_point_ok", "1 where a point's figure is to be trusted."};
constexpr Metric information{"kestrel_survey_info", "The last session of the host's survey."};
constexpr Metric started{"kestrel_survey_start_time_seconds",
                         "When that session started, since 1970."};
constexpr Metric complete{"kestrel_survey_complete", "1 where that session was not cut short."};

class Labels {
  public:
    Labels& add(const char* name, std::string_view value) {
        text.append(text.empty() ? "" : ",").append(name).append("=\"");
        for (const char character : value)
            if (character == '\n')
                text += "\\n";
            else
                text.append(character == '"' || character == '\\' ? "\\" : "") += character;
        text += '"';
        return *this;
    }
    [[nodiscard]] std::string str() const { return "{" + text + "}"; }

  private:
    std::string text;
};

/// Each metric's samples by their labels; equal labels cannot come twice.
class Exposition {
  public:
    void add(const Metric& metric, const Labels& labels, const Json& value) {
        samples[metric.name].first = metric.help;
        samples[metric.name].second.emplace(labels.str(), value.dump());
    }
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const auto& [name, metric] : samples) {
            text.append("# HELP ").append(name).append(" ").append(metric.first);
            text.append("\n# TYPE ").append(name).append(" gauge\n");
            for (const auto& [labels, value] : metric.second)
                text.append(name).append(labels).append(" ").append(value) += '\n';
        }
        return text;
    }

  private:
    std::map<std::string, std::pair<std::string, std::map<std::string, std::string>>> samples;
};

/// Fields that the pattern does not look at are no labels.
Labels labelsOf(const std::string& host, const Point& point) {
    const Parameters& it = point.parameters;
    Labels labels;
    labels.add("host", host).add("plan", point.plan).add("pattern", it.pattern);
    if (it.sizeBytes)
        labels.add("size_bytes", std::to_string(*it.sizeBytes));
    if (it.wordBytes)
        labels.add("word_bytes", std::to_string(*it.wordBytes));
    if (it.strideBytes)
        labels.add("stride_bytes", std::to_string(*it.strideBytes));
    labels.add("cpus", cpusText(it.cpus));
    if (it.nodes)
        labels.add("nodes", machine::listText(*it.nodes));
    if (it.pages)
        labels.add("pages", nameOf(*it.pages));
    if (!it.loadCpus.empty())
        labels.add("load_cpus", cpusText(it.loadCpus));
    return labels;
}

}  // namespace

std::string prometheusOf(const Survey& survey) {
    const Session& last = survey.sessions.back();
    const std::string& name = survey.host.name;
    Exposition exposition;
    for (const Point& point : last.points) {
        if (point.samples.empty())
            continue;
        const Labels labels = labelsOf(name, point);
        exposition.add(trusted, labels, point.verdict == Verdict::ok ? 1 : 0);
        if (point.verdict == Verdict::ok || point.verdict == Verdict::noisy)
            exposition.add(figures[static_cast<std::size_t>(point.unit())], labels,
                           point.summary.value);
    }
    const Labels host = Labels().add("host", name);
    exposition.add(information,
                   Labels(host)
                       .add("processor", survey.host.processor)
                       .add("plan", last.plan)
                       .add("label", last.label)
                       .add("version", last.program.version),
                   1);
    if (const auto seconds = secondsOf(last.started))
        exposition.add(started, host, *seconds);
    exposition.add(complete, host, last.complete ? 1 : 0);
    return exposition.text();
}

}  // namespace survey
