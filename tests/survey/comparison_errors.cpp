// How often a comparison errs, on made-up surveys of 124 points: tables for docs/variation.md. Exit
// status 1 where it errs more often than promised.
//
// usage: comparison-errors [REPETITIONS]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#include "survey/compare/difference.h"

namespace survey {
namespace {

constexpr std::size_t pointCount = 124, kindCount = 8;

/// Made-up surveys.
struct World {
    std::size_t sessions = 3;  ///< a side
    double cv = 0.008;         ///< from session to session
    double publishedCv = 0.008;
    double restlessCv = 0;   ///< of every tenth point, where it is not 0
    double sessionCv = 0;    ///< what all points of a session have in common
    double tailDegrees = 0;  ///< Student's t instead of the normal distribution
    double slowed = 0;       ///< the first point, on the second side
};

std::vector<TwoSides> madeUp(const World& world, std::mt19937_64& random) {
    std::normal_distribution<double> normal;
    std::student_t_distribution<double> tailed(world.tailDegrees > 0 ? world.tailDegrees : 1);
    const auto deviate = [&] {
        return world.tailDegrees > 0
                   ? tailed(random) / std::sqrt(world.tailDegrees / (world.tailDegrees - 2))
                   : normal(random);
    };
    std::vector<TwoSides> points(pointCount);
    for (const auto side : {&TwoSides::before, &TwoSides::after})
        for (std::size_t session = 0; session < world.sessions; ++session) {
            const double shared = world.sessionCv * normal(random);
            for (std::size_t i = 0; i < pointCount; ++i) {
                const bool restless = world.restlessCv > 0 && i % 10 == 1;
                (points[i].*side)
                    .push_back(
                        std::exp(shared + (restless ? world.restlessCv : world.cv) * deviate()));
            }
        }
    for (std::size_t i = 0; i < pointCount; ++i) {
        points[i].kind = i % kindCount;
        points[i].publishedCv = world.publishedCv;
    }
    for (double& headline : points[0].after)
        headline *= 1 - world.slowed;
    return points;
}

/// The share of so many comparisons of which this is true.
double shareOf(const World& world, unsigned repetitions,
               const std::function<bool(const std::vector<Difference>&)>& isTrue) {
    std::mt19937_64 random(1);
    unsigned count = 0;
    for (unsigned i = 0; i < repetitions; ++i)
        count += isTrue(differencesOf(madeUp(world, random))) ? 1 : 0;
    return static_cast<double>(count) / repetitions;
}

bool anyWorse(const std::vector<Difference>& all) {
    return std::ranges::any_of(
        all, [](const Difference& it) { return it.conclusion == Conclusion::worse; });
}

bool foundFirst(const std::vector<Difference>& all) {
    return all[0].conclusion == Conclusion::worse;
}

bool equalsAreEqual(unsigned repetitions) {
    const struct {
        const char* text;
        World world;
        bool promised;
    } rows[] = {
        {"three sessions a side", {}, true},
        {"one session a side", {.sessions = 1}, true},
        {"ten sessions a side", {.sessions = 10}, true},
        {"memory: 3 % in place of 0.8 %", {.cv = 0.03, .publishedCv = 0.03}, true},
        {"all points of a session off together by 0.8 %",
         {.cv = 0.004, .publishedCv = 0.009, .sessionCv = 0.008},
         true},
        {"three times what is published", {.cv = 0.024}, true},
        {"long tails (Student's t, 4 degrees)", {.tailDegrees = 4}, false},
        {"every tenth point varies by 3 %", {.restlessCv = 0.03}, false},
        {"three times what is published, one session", {.sessions = 1, .cv = 0.024}, false},
    };
    bool kept = true;
    std::printf("| equals | called worse |\n| --- | --- |\n");
    for (const auto& row : rows) {
        const double share = shareOf(row.world, repetitions, anyWorse);
        std::printf("| %s | %.1f %% |\n", row.text, 100 * share);
        kept = kept && (!row.promised || share <= errorChance);
    }
    return kept;
}

bool slowerIsFound(unsigned repetitions) {
    std::printf("\n| one point of 124 slower by 5 %% | found |\n| --- | --- |\n");
    bool kept = true;
    for (const std::size_t sessions : {1, 2, 3, 5}) {
        const double share =
            shareOf({.sessions = sessions, .slowed = 0.05}, repetitions, foundFirst);
        std::printf("| variation of 0.8 %%, %zu a side | %.1f %% |\n", sessions, 100 * share);
        kept = kept && (sessions < 3 || share >= 0.95);
    }
    return kept;
}

/// The fewest sessions a side that find a point so much slower 95 times in a hundred.
std::size_t sessionsFor(double cv, double slowed, unsigned repetitions) {
    const auto suffice = [&](std::size_t sessions) {
        return shareOf({.sessions = sessions, .cv = cv, .publishedCv = cv, .slowed = slowed},
                       repetitions, foundFirst) >= 0.95;
    };
    std::size_t few = 0, enough = 1;
    while (!suffice(enough))
        few = std::exchange(enough, 2 * enough);
    while (enough - few > 1) {
        const std::size_t middle = (few + enough) / 2;
        (suffice(middle) ? enough : few) = middle;
    }
    return enough;
}

void sessionsNeeded(unsigned repetitions) {
    std::printf(
        "\nSessions a side that it takes to find one slower point 95 times in a hundred, by how "
        "much "
        "sessions vary:\n\n| sessions vary by | a point 5 %% slower | 10 %% | 20 %% |\n"
        "| --- | --- | --- | --- |\n");
    for (const double cv : {0.01, 0.02, 0.03, 0.05}) {
        std::printf("| %.0f %% |", 100 * cv);
        for (const double slowed : {0.05, 0.1, 0.2})
            std::printf(" %zu |", sessionsFor(cv, slowed, repetitions));
        std::printf("\n");
    }
}

}  // namespace
}  // namespace survey

int main(int argc, char** argv) {
    const int repetitions = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (repetitions <= 0) {
        std::fprintf(stderr, "usage: comparison-errors [REPETITIONS]\n");
        return 2;
    }
    const auto count = static_cast<unsigned>(repetitions);
    const bool equal = survey::equalsAreEqual(count);
    const bool found = survey::slowerIsFound(count);
    survey::sessionsNeeded(std::min(count, 200U));
    return equal && found ? 0 : 1;
}
