#include "survey/verdict.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace survey {
namespace {

constexpr std::array<std::string_view, 4> verdictNames{"ok", "noisy", "invalid", "unsupported"};

/// Why a figure cannot be what was measured; empty where it can.
std::string whyInvalid(const Point& point, const Session& session) {
    if (session.counterConstant == false)
        return "counter not constant";
    for (const Detail& detail : point.details) {
        if (detail.fewestPasses() < fewestPasses)
            return "too few passes";
        // A figure must not bear the name of a node that it was not measured on.
        if (const auto elsewhere = detail.evidence.find("pages_elsewhere_share");
            elsewhere != detail.evidence.end() && elsewhere->second > 0)
            return "pages elsewhere";
    }
    if (!point.limit)
        return {};
    const double share = textOf(point.unit()).higherIsBetter ? point.summary.value / *point.limit
                                                             : *point.limit / point.summary.value;
    return share > 1 + limitTolerance ? "above the core's limit" : "";
}

bool isWide(const Point& point) {
    return point.summary.halfWidth() > noisyHalfWidth;
}

std::optional<double> medianLoad(const Point& point) {
    std::vector<double> loads;
    for (const Detail& detail : point.details)
        if (detail.loadBytesPerSecond)
            loads.push_back(*detail.loadBytesPerSecond);
    return loads.empty() ? std::nullopt : std::optional(median(std::move(loads)));
}

/// The samples that make a point noisy are those that are further from the headline than half of
/// what it may vary by.
bool isOutlying(double off) {
    return off > noisyHalfWidth / 2;
}

std::vector<const Detail*> outlyingDetails(const Point& point) {
    std::vector<const Detail*> outlying;
    for (std::size_t i = 0; i < point.details.size(); ++i)
        if (isOutlying(std::abs(point.samples[i] / point.summary.value - 1)))
            outlying.push_back(&point.details[i]);
    return outlying;
}

/// The kinds of evidence that speak against at least half of these samples.
std::vector<std::string> causesOf(const std::vector<const Detail*>& details,
                                  const EvidenceBest& best) {
    std::vector<std::string> causes;
    for (const EvidenceKind& kind : evidenceKinds()) {
        const auto against = std::ranges::count_if(
            details, [&](const Detail* it) { return speaks(kind, it->evidence, best); });
        if (against != 0 && 2 * static_cast<std::size_t>(against) >= details.size())
            causes.emplace_back(kind.cause);
    }
    return causes;
}

/// The kinds that are severe for at least half of all samples.
std::vector<std::string> severeCauses(const Point& point, const EvidenceBest& best) {
    std::vector<std::string> causes;
    for (const EvidenceKind& kind : evidenceKinds()) {
        const auto against = std::ranges::count_if(
            point.details, [&](const Detail& it) { return isSevere(kind, it.evidence, best); });
        if (against != 0 && 2 * static_cast<std::size_t>(against) >= point.details.size())
            causes.emplace_back(kind.cause);
    }
    return causes;
}

void addValues(const EvidenceKind& kind, const Point& point, std::vector<double>& values) {
    for (const Detail& detail : point.details)
        if (const auto found = detail.evidence.find(kind.key); found != detail.evidence.end())
            values.push_back(found->second);
}

/// The clock is to blame where it halves, or more, how far at least half of the outlying samples
/// are off: each of them then is counted in cycles of the core's clock beside it.
bool clockExplains(const Point& point) {
    const bool rate = textOf(point.unit()).higherIsBetter;
    std::vector<double> inCycles;
    for (std::size_t i = 0; i < point.details.size(); ++i) {
        const auto hertz = point.details[i].clockHz;
        if (!hertz)
            return false;
        inCycles.push_back(rate ? point.samples[i] / *hertz : point.samples[i] * *hertz);
    }
    const double middle = median(inCycles);
    std::size_t outlying = 0, explained = 0;
    for (std::size_t i = 0; i < point.details.size(); ++i) {
        const double off = std::abs(point.samples[i] / point.summary.value - 1);
        if (!isOutlying(off))
            continue;
        ++outlying;
        if (2 * std::abs(inCycles[i] / middle - 1) < off)
            ++explained;
    }
    return explained != 0 && 2 * explained >= outlying;
}

void judgeNoise(Point& point, const EvidenceBest& best) {
    point.causes = severeCauses(point, best);
    const bool wide = isWide(point);
    const bool few = point.samples.size() < fewestSamples;
    point.verdict = wide || few || !point.causes.empty() ? Verdict::noisy : Verdict::ok;
    if (wide)
        for (std::string& cause : causesOf(outlyingDetails(point), best))
            if (std::ranges::find(point.causes, cause) == point.causes.end())
                point.causes.push_back(std::move(cause));
    if (wide && clockExplains(point))
        point.causes.emplace_back("clock");
    if (few)
        point.causes.emplace_back("too few samples");
    if (point.verdict == Verdict::noisy && point.causes.empty())
        point.causes.emplace_back("unknown");
}

}  // namespace

std::string_view nameOf(Verdict verdict) {
    return verdictNames[static_cast<std::size_t>(verdict)];
}

std::optional<Verdict> verdictNamed(std::string_view name) {
    const auto* const found = std::ranges::find(verdictNames, name);
    if (found == verdictNames.end())
        return std::nullopt;
    return static_cast<Verdict>(found - verdictNames.begin());
}

EvidenceBest bestOf(const Session& session) {
    EvidenceBest best;
    for (const EvidenceKind& kind : evidenceKinds()) {
        std::vector<double> values;
        for (const Point& point : session.points)
            addValues(kind, point, values);
        constexpr double tenth = 0.9;
        if (kind.speaks == EvidenceKind::Speaks::belowBest && !values.empty())
            best[kind.key] = quantile(std::move(values), tenth);
    }
    return best;
}

void judge(Point& point, const Session& session, const EvidenceBest& best) {
    point.causes.clear();
    point.summary = summarise(point.samples);
    point.load = medianLoad(point);
    if (!point.unsupported.empty() || point.samples.empty()) {
        point.verdict = Verdict::unsupported;
        if (!point.unsupported.empty())
            point.causes.push_back(point.unsupported);
        return;
    }
    if (std::string reason = whyInvalid(point, session); !reason.empty()) {
        point.verdict = Verdict::invalid;
        point.causes.push_back(std::move(reason));
        return;
    }
    judgeNoise(point, best);
}

void judgeByFile(Point& point) {
    point.summary = summarise(point.samples);
    if (point.verdict == Verdict::ok && isWide(point)) {
        point.verdict = Verdict::noisy;
        point.causes = {"unknown"};
    }
}

void judge(Session& session) {
    const EvidenceBest best = bestOf(session);
    for (Point& point : session.points)
        judge(point, session, best);
}

}  // namespace survey
