// What numbers decide: statistics, verdicts, levels, and what a budget leaves.
#include <gtest/gtest.h>

#include "made_up.h"
#include "survey/levels.h"
#include "survey/run/collect.h"

namespace survey {
namespace {

TEST(Statistics, TheIntervalLiesAsFarInsideAsItsCoverageAllows) {
    for (const auto& [count, low] :
         {std::pair<int, double>{1, 1}, {5, 1}, {8, 1}, {9, 2}, {12, 3}}) {
        std::vector<double> samples;
        for (int i = count; i > 0; --i)
            samples.push_back(i);
        const Summary summary = summarise(samples);
        EXPECT_EQ(summary.low, low) << count;
        EXPECT_EQ(summary.high, count + 1 - low) << count;
        EXPECT_EQ(summary.value, (count + 1) / 2.0) << count;
        EXPECT_EQ(summary.max, count);
    }
    EXPECT_EQ(summarise({}).count, 0u);
    EXPECT_NEAR(summarise(std::vector<double>{9, 10, 11}).cv, 0.1, 1e-12);
}

/// The verdict and causes of five samples of a point, of which the first two have this evidence.
std::string judged(const std::vector<double>& samples, const Evidence& ofTwo = {},
                   const Evidence& ofAll = {}) {
    Point point = madeUpPoint("a-l", 16384, samples);
    for (std::size_t i = 0; i < point.details.size(); ++i) {
        point.details[i].evidence = ofAll;
        if (i < 2)
            point.details[i].evidence.insert(ofTwo.begin(), ofTwo.end());
    }
    const Session session = madeUpSession({point});
    std::string text(nameOf(session.points[0].verdict));
    for (const std::string& cause : session.points[0].causes)
        text += " " + cause;
    return text;
}

TEST(Verdict, FollowsFromSamplesAndEvidence) {
    const std::vector<double> narrow{100, 100.5, 101, 100, 100}, wide{80, 90, 100, 100.1, 100};
    EXPECT_EQ(judged(narrow), "ok");
    EXPECT_EQ(judged({100, 100, 100}), "noisy too few samples");
    EXPECT_EQ(judged(wide), "noisy unknown");
    EXPECT_EQ(judged(wide, {{"steal_share", 0.1}}), "noisy steal");
    EXPECT_EQ(judged(wide, {{"steal_share", 0.001}}), "noisy unknown") << "not enough of it";
    EXPECT_EQ(judged({100, 100, 80, 70, 100}, {{"page_faults", 3}}), "noisy unknown")
        << "it stood beside the good samples";
    EXPECT_EQ(judged(narrow, {{"page_faults", 3}}), "ok") << "it did no harm";
    EXPECT_EQ(judged(narrow, {}, {{"run_queue_wait_share", 0.5}}), "noisy run queue")
        << "half of a CPU is nobody's figure, however steady";
    EXPECT_EQ(judged(wide, {{"additions_per_cycle", 3.0}}, {}), "noisy unknown")
        << "the best known";
    const auto slowed = [](double slow, double fast) {
        Point point = madeUpPoint("a-l", 16384, {86, 85.5, 100, 100.1, 100});
        for (std::size_t i = 0; i < 5; ++i)
            point.details[i].clockHz = i < 2 ? slow : fast;
        return madeUpSession({point}).points[0].causes;
    };
    EXPECT_EQ(slowed(3e9, 3.5e9), std::vector<std::string>{"clock"});
    EXPECT_EQ(slowed(3.3e9, 3.5e9), std::vector<std::string>{"unknown"}) << "not enough";
    EXPECT_EQ(slowed(4e9, 3.5e9), std::vector<std::string>{"unknown"}) << "the other way round";
    EXPECT_EQ(judged(narrow, {}, {{"pages_elsewhere_share", 0.01}}), "invalid pages elsewhere");
}

TEST(Verdict, InvalidWhereAFigureCannotBe) {
    Point point = madeUpPoint("a-l", 16384, {100, 100, 100, 100, 100});
    point.limit = 97;
    EXPECT_EQ(madeUpSession({point}).points[0].verdict, Verdict::ok) << "within the tolerance";
    point.limit = 90;
    EXPECT_EQ(madeUpSession({point}).points[0].verdict, Verdict::invalid);
    point.limit.reset();
    point.details[4].workers[0].passes = 4;
    EXPECT_EQ(madeUpSession({point}).points[0].causes, std::vector<std::string>{"too few passes"});
    Session session = madeUpSession({madeUpPoint("a-l", 16384, {100, 100, 100, 100, 100})});
    session.counterConstant = false;
    judge(session);
    EXPECT_EQ(session.points[0].verdict, Verdict::invalid);
    session.counterConstant.reset();
    judge(session);
    EXPECT_EQ(session.points[0].verdict, Verdict::ok) << "not known is not wrong";
}

TEST(Levels, AreToldByPointsWellInside) {
    const Json facts{
        {"caches",
         {{{"level", 1}, {"type", "data"}, {"size_bytes", 49152}, {"cpus", "0"}},
          {{"level", 1}, {"type", "instruction"}, {"size_bytes", 65536}, {"cpus", "0"}},
          {{"level", 1}, {"type", "data"}, {"size_bytes", 1024}, {"cpus", "1"}},
          {{"level", 2}, {"type", "unified"}, {"size_bytes", 2097152}, {"cpus", "0-1"}}}}};
    const auto sizes = levelSizes(facts, {0});
    ASSERT_EQ(sizes.size(), 3u);
    EXPECT_EQ(sizes[0].bytes, 49152u);
    Session session = madeUpSession(
        {madeUpPoint("a-l", 16384, {400, 400, 400, 400, 400}),
         madeUpPoint("a-l", 49152, {300, 300, 300, 300, 300}),  // fills the level, and is left out
         madeUpPoint("a-l", 262144, {100, 100, 100, 100, 100}),
         madeUpPoint("a-l", 524288, {99, 100, 110, 100, 90}),
         madeUpPoint("a-l", 1048576, {90, 90, 90, 90, 90}),
         madeUpPoint("a-l", 64 << 20, {10, 10, 10, 10, 10})});
    std::vector<const Point*> points;
    for (const Point& point : session.points)
        points.push_back(&point);
    const auto levels = levelsOf(sizes, points);
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(levels[0].figures[0].value, 400);
    EXPECT_EQ(levels[0].figures[0].points, 1u);
    EXPECT_EQ(levels[1].figures[0].value, 100) << "the middle one";
    EXPECT_EQ(levels[1].figures[0].verdict, Verdict::noisy) << "the worst one";
    EXPECT_EQ(levels[2].figures[0].value, 10);
}

TEST(Budget, TakesRoundsFirstThenPoints) {
    const auto cut = [](std::optional<double> budget) {
        const Cut it = cutTo(budget, 5, {1, 2, 3});
        return std::pair(it.rounds, it.points);
    };
    EXPECT_EQ(cut({}), std::pair(5u, std::size_t{3}));
    EXPECT_EQ(cut(30), std::pair(5u, std::size_t{3}));
    EXPECT_EQ(cut(29), std::pair(4u, std::size_t{3}));
    EXPECT_EQ(cut(6), std::pair(1u, std::size_t{3}));
    EXPECT_EQ(cut(5), std::pair(1u, std::size_t{2}));
    EXPECT_EQ(cut(0.5), std::pair(1u, std::size_t{0}));
}

TEST(Collecting, OneFailureDoesNotUndoAPointsSamples) {
    Point measured = madeUpPoint("a-l", 16384, {100, 100, 100, 100, 60});
    measured.parameters.cpus = {1023};  // no worker gets there
    Point fresh = measured, early = madeUpPoint("a-l", 16384, {100, 90});
    fresh.samples.clear();
    fresh.details.clear();
    early.parameters.cpus = measured.parameters.cpus;
    Session session = madeUpSession({measured, fresh, early});
    session.rounds = 6;
    std::size_t calls = 0, mostNoisy = 0;
    const Ground ground;
    Meter meter(ground, session.counterHz, {});
    const auto count = [&](const Point&, std::size_t, std::size_t, double, std::size_t noisy) {
        ++calls;
        mostNoisy = std::max(mostNoisy, noisy);
    };
    EXPECT_TRUE(collect(session, meter, {}, {.sampling = count, .roundEnded = {}, .stop = {}}));
    EXPECT_EQ(session.points[0].samples.size(), 5u);
    EXPECT_EQ(session.points[0].verdict, Verdict::noisy);
    EXPECT_EQ(session.points[1].verdict, Verdict::unsupported);
    EXPECT_EQ(session.points[1].causes.size(), 1u) << "it says why, and is not tried again";
    EXPECT_EQ(session.points[2].verdict, Verdict::noisy);
    EXPECT_GE(calls, 1u + 1 + 4) << "the others are tried whenever they lack a sample";
    EXPECT_EQ(mostNoisy, 1u) << "two samples do not tell yet";
}

TEST(Meter, ExpectsAllArraysAndWorkersToBePrepared) {
    const Ground ground;
    const Meter meter(ground, 1e9, {});
    Parameters point = madeUpPoint("l-r", 1u << 30, {}).parameters;
    const double alone = meter.expectedSeconds(point);
    point.loadCpus = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_GT(meter.expectedSeconds(point), 5 * alone);
    point.loadCpus.clear();
    point.pattern = "l-l";
    EXPECT_GT(meter.expectedSeconds(point), alone) << "its passes are as long as its array";
}

}  // namespace
}  // namespace survey
