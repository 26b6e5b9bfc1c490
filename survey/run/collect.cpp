#include "survey/run/collect.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>

#include "survey/verdict.h"

namespace survey {
namespace {

/// The numbers below `count` in a random order. Written out, as the library's own may differ from
/// one to the next, and a seed should mean the same order everywhere.
std::vector<std::size_t> shuffled(std::size_t count, std::uint64_t seed) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(seed);
    for (std::size_t left = count; left > 1; --left)
        std::swap(order[left - 1], order[random() % left]);
    return order;
}

class Collector {
  public:
    Collector(Session& session, Meter& meter, std::optional<double> budgetSeconds,
              const Listener& listener)
        : session(session), meter(meter), budgetSeconds(budgetSeconds), listener(listener) {}

    bool run() {
        for (unsigned round = 1; round <= session.rounds; ++round) {
            const std::vector<std::size_t> points = pointsThatLack(round);
            if (round > 1 && !isAffordable(points)) {
                session.rounds = round - 1;
                break;
            }
            if (!takeRound(round, points))
                return false;
        }
        for (Point& point : session.points)
            if (point.samples.empty() && point.unsupported.empty())
                point.unsupported = "no pass counted: its CPUs were busy";
        double end = secondsSoFar() * mostTime;
        if (budgetSeconds)
            end = std::min(end, *budgetSeconds);
        for (unsigned round = session.rounds + 1; round <= mostSamples; ++round)
            if (!takeRound(round, affordable(noisyPoints(round), end - secondsSoFar())))
                return false;
        return true;
    }

  private:
    [[nodiscard]] bool stopped() const { return listener.stop && listener.stop(); }

    [[nodiscard]] std::vector<std::size_t> pointsThatLack(unsigned round) const {
        std::vector<std::size_t> lacking;
        for (std::size_t i = 0; i < session.points.size(); ++i)
            if (session.points[i].unsupported.empty() && roundsDone(session.points[i]) < round)
                lacking.push_back(i);
        return lacking;
    }

    [[nodiscard]] std::vector<std::size_t> noisyPoints(unsigned round) const {
        std::vector<std::size_t> noisy;
        for (const std::size_t i : pointsThatLack(round))
            if (session.points[i].verdict == Verdict::noisy)
                noisy.push_back(i);
        return noisy;
    }

    /// Samples may take longer than was expected when the budget was divided.
    [[nodiscard]] bool isAffordable(const std::vector<std::size_t>& points) const {
        double seconds = secondsSoFar();
        for (const std::size_t i : points)
            seconds += expectedSeconds(session.points[i]);
        constexpr double tolerance = 1.05;
        return !budgetSeconds || seconds <= *budgetSeconds * tolerance;
    }

    [[nodiscard]] double secondsSoFar() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    }

    /// Those that fit into so much time, the quickest first.
    [[nodiscard]] std::vector<std::size_t> affordable(std::vector<std::size_t> points,
                                                      double seconds) const {
        const auto cost = [&](std::size_t i) {
            return meter.expectedSeconds(session.points[i].parameters);
        };
        std::ranges::stable_sort(points, {}, cost);
        std::size_t count = 0;
        for (; count < points.size() && seconds >= cost(points[count]); ++count)
            seconds -= cost(points[count]);
        points.resize(count);
        return points;
    }

    /// 0 for a point that is not going to be tried again.
    [[nodiscard]] double expectedSeconds(const Point& point) const {
        return point.unsupported.empty() ? meter.expectedSeconds(point.parameters) : 0;
    }

    bool takeRound(unsigned round, const std::vector<std::size_t>& points) {
        const auto order = shuffled(points.size(), session.seed + round);
        // Surveys can have thousands of points, so nothing here looks at all of them for each.
        std::vector<double> seconds(points.size());
        for (std::size_t i = 0; i < points.size(); ++i)
            seconds[i] = expectedSeconds(session.points[points[i]]);
        double thisRound = std::accumulate(seconds.begin(), seconds.end(), 0.0);
        double laterRound = thisRound;
        const unsigned laterRounds = round < session.rounds ? session.rounds - round : 0;
        const std::size_t noisy = noisySoFar();
        const std::size_t all = done + points.size() * (1 + laterRounds);
        for (std::size_t place = 0; place < order.size(); ++place) {
            Point& point = session.points[points[order[place]]];
            if (listener.sampling)
                listener.sampling(point, done, all, thisRound + laterRounds * laterRound, noisy);
            if (!takeSample(point, round, static_cast<unsigned>(place) + 1))
                return false;
            ++done;
            thisRound -= seconds[order[place]];
            laterRound += expectedSeconds(point) - seconds[order[place]];
        }
        judge(session);
        if (!points.empty() && listener.roundEnded)
            listener.roundEnded(session);
        return !stopped();
    }

    /// Points that are noisy for another reason than that they are not finished.
    [[nodiscard]] std::size_t noisySoFar() const {
        return static_cast<std::size_t>(std::ranges::count_if(session.points, [](const Point& it) {
            return it.verdict == Verdict::noisy && it.samples.size() >= fewestSamples;
        }));
    }

    /// False where the survey is to stop; what was measured then is half a sample, and is dropped.
    bool takeSample(Point& point, unsigned round, unsigned place) {
        auto taken = meter.take(point.parameters, [this] { return stopped(); });
        if (stopped())
            return false;
        if (const auto* const none = std::get_if<NoSample>(&taken)) {
            // Where there are samples already, it can be done, and is tried again.
            if (point.samples.empty())
                point.unsupported = none->reason;
            return true;
        }
        auto& sample = std::get<Sample>(taken);
        if (sample.value == 0)
            return true;  // its CPUs were busy, and it is tried again
        if (point.limitPerCycle && sample.highestClockHz != 0)
            point.limit = std::max(point.limit.value_or(0),
                                   *point.limitPerCycle * sample.highestClockHz *
                                       static_cast<double>(point.parameters.cpus.size()));
        sample.detail.round = round;
        sample.detail.order = place;
        point.arrayBytes = sample.arrayBytes;
        point.samples.push_back(sample.value);
        point.details.push_back(std::move(sample.detail));
        return true;
    }

    Session& session;
    Meter& meter;
    const std::optional<double> budgetSeconds;
    const Listener& listener;
    std::size_t done = 0;  ///< samples
    const std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
};

}  // namespace

unsigned roundsDone(const Point& point) {
    return point.details.empty() ? 0 : point.details.back().round;
}

Cut cutTo(std::optional<double> budgetSeconds, unsigned rounds,
          const std::vector<double>& secondsOfPoints) {
    Cut cut{rounds, secondsOfPoints.size()};
    if (!budgetSeconds)
        return cut;
    double round = std::accumulate(secondsOfPoints.begin(), secondsOfPoints.end(), 0.0);
    while (cut.rounds > 1 && cut.rounds * round > *budgetSeconds)
        --cut.rounds;
    while (cut.points > 0 && cut.rounds * round > *budgetSeconds)
        round -= secondsOfPoints[--cut.points];
    return cut;
}

std::vector<double> expectedSeconds(const Session& session, const Meter& meter) {
    std::vector<double> seconds;
    for (const Point& point : session.points)
        seconds.push_back(point.unsupported.empty() ? meter.expectedSeconds(point.parameters) : 0);
    return seconds;
}

bool collect(Session& session, Meter& meter, std::optional<double> budgetSeconds,
             const Listener& listener) {
    return Collector(session, meter, budgetSeconds, listener).run();
}

}  // namespace survey
