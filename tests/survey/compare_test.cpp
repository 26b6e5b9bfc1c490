// What a comparison concludes, and kestrel-survey compare as its users run it.
#include "survey/compare/compare.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "made_up.h"
#include "run_program.h"
#include "survey/compare/fact_differences.h"

namespace survey {
namespace {

namespace fs = std::filesystem;

/// The conclusion on a first point, among so many that did not change.
Difference concludedAmong(std::size_t others, const TwoSides& first) {
    std::vector<TwoSides> points(1 + others,
                                 {.before = {100}, .after = {100}, .publishedCv = 0.01});
    points[0] = first;
    return differencesOf(points)[0];
}

TEST(Difference, TellsWorseFromBetterFromNothing) {
    const auto conclusion = [](double before, double after, bool higherIsBetter, double cv,
                               std::size_t others = 0) {
        const TwoSides point{{before, before}, {after, after}, higherIsBetter, 0, cv};
        return concludedAmong(others, point).conclusion;
    };
    EXPECT_EQ(conclusion(100, 95, true, 0.008), Conclusion::worse);
    EXPECT_EQ(conclusion(100, 95, false, 0.008), Conclusion::better);
    EXPECT_EQ(conclusion(95, 100, false, 0.008), Conclusion::worse);
    EXPECT_EQ(conclusion(100, 98.5, true, 0.001), Conclusion::same) << "certain, but too little";
    EXPECT_EQ(conclusion(100, 97.5, true, 0.008), Conclusion::worse);
    EXPECT_EQ(conclusion(100, 97.5, true, 0.008, 123), Conclusion::unclear) << "one of many";
    EXPECT_EQ(conclusion(100, 95, true, 0.05), Conclusion::unclear);
}

TEST(Difference, KnowsWhatItCouldHaveFound) {
    const TwoSides one{.before = {100}, .after = {100}, .publishedCv = 0.01};
    const TwoSides three{.before = {100, 100, 100}, .after = {100, 100, 100}, .publishedCv = 0.01};
    EXPECT_NEAR(concludedAmong(123, one).smallest, 0.09, 0.005);
    EXPECT_LT(concludedAmong(123, three).smallest, 0.05);
    EXPECT_LT(concludedAmong(0, one).smallest, 0.06) << "one point alone needs less";
    // Sessions that vary by more than was published.
    const TwoSides restless{.before = {99, 101, 97}, .after = {99, 103, 101}, .publishedCv = 0.001};
    EXPECT_GT(concludedAmong(0, restless).smallest, 0.05);
}

TEST(Variation, OfThePointsKind) {
    const Json facts{
        {"caches",
         {{{"level", 2}, {"type", "unified"}, {"size_bytes", 1 << 20}, {"cpus", "0"}},
          {{"level", 3}, {"type", "unified"}, {"size_bytes", 8 << 20}, {"cpus", "0-1"}}}}};
    const auto levelOf = [&](std::uint64_t size, std::vector<unsigned> cpus) {
        return kindOf({.pattern = "a-l", .sizeBytes = size, .cpus = std::move(cpus)}, facts).level;
    };
    EXPECT_EQ(levelOf(3 << 18, {0}), "L2");
    EXPECT_EQ(levelOf(1 << 20, {0}), "L3") << "a full cache is none";
    EXPECT_EQ(levelOf(4 << 20, {0}), "L3");
    EXPECT_EQ(levelOf(4 << 20, {0, 1}), "memory") << "both arrays lie in the one cache";
    EXPECT_EQ(kindOf({.pattern = "f-ssa", .cpus = {0}}, facts).level, "arithmetic");
    EXPECT_EQ(kindOf({.pattern = "s-lms", .cpus = {0}}, facts).level, "sharing");
    const std::vector<Variation> published{
        {{"a-l", "L2"}, 0.01, 19}, {{"l-r", "L2"}, 0.02, 7}, {{"a-l", "L3"}, 0.05, 19}};
    EXPECT_EQ(variationOf({"a-l", "L2"}, published).cv, 0.01);
    EXPECT_EQ(variationOf({"a-lls", "L2"}, published).cv, 0.02);
    EXPECT_EQ(variationOf({"a-lls", "L2"}, published).degrees, 7);
    EXPECT_EQ(variationOf({"a-lls", "L4"}, published).cv, 0.05);
    for (const Variation& each : publishedVariation())
        EXPECT_TRUE(each.cv > 0 && each.degrees > 0) << textOf(each.kind);
}

/// A session whose points of 4, 8, … KiB have these headlines; a negative one is noisy, zero could
/// not be measured.
Session sessionOf(const std::vector<double>& headlines) {
    std::vector<Point> points;
    for (std::size_t i = 0; i < headlines.size(); ++i) {
        const double value = std::abs(headlines[i]);
        points.push_back(madeUpPoint(
            "a-l", 4096 << i,
            value == 0         ? std::vector<double>()
            : headlines[i] < 0 ? std::vector{value, value, value / 2, value / 2, value * 2}
                               : std::vector(5, value)));
    }
    Session session = madeUpSession(std::move(points));
    static int count = 0;
    session.id = std::to_string(++count);
    return session;
}

TEST(Comparison, TakesSessionsThatAreOkAndSaysWhatMattersFirst) {
    const Survey before = madeUpSurvey(
        {sessionOf({100, 100, 100, 100, 100, 0, 100}), sessionOf({100, -70, 100, 100, 100, 0, 0})});
    Survey after = madeUpSurvey(
        {sessionOf({100, 100, -100, 120, 80, 0}), sessionOf({100, 100, -100, 120, 80, 0})});
    after.sessions[1].facts = {{"schema", "machine-facts/1"},
                               {"processor", {{"microcode", "0x2"}}},
                               {"nodes", {{{"free_bytes", 7}, {"cpus", "0"}}}}};
    const std::vector<Variation> published{{{"a-l", "memory"}, 0.008, 19}};
    const Comparison comparison = compare(before, after, published);
    std::string text;
    for (const ComparedPoint& point : comparison.points)
        text += sizeText(*point.parameters.sizeBytes) + " " +
                std::string(nameOf(point.conclusion())) + "; ";
    EXPECT_EQ(text, "64 KiB worse; 32 KiB better; 16 KiB cannot tell; 4 KiB same; 8 KiB same; ");
    EXPECT_EQ(comparison.points[2].after.trouble, "noisy: unknown");
    EXPECT_EQ(comparison.points[4].before.headlines.size(), 1u) << "the noisy one is left out";
    EXPECT_EQ(comparison.onlyBefore, 1u);
    ASSERT_EQ(comparison.facts.size(), 2u) << "what is free changes all the time";
    EXPECT_EQ(comparison.facts[0].name, "processor.microcode");
    EXPECT_EQ(comparison.facts[0].after, "0x2");
    const auto clocked = [&before](double hertz) {
        Survey survey = before;
        for (Detail& detail : survey.sessions[0].points[0].details)
            detail.clockHz = hertz;
        return survey;
    };
    EXPECT_TRUE(factDifferences(clocked(3.6e9), clocked(3.62e9)).empty()) << "it wanders";
    const auto slower = factDifferences(clocked(3.6e9), clocked(3e9));
    ASSERT_EQ(slower.size(), 1u);
    EXPECT_EQ(slower[0].after, 3000000000);
}

class CompareProgram : public testing::Test {
  protected:
    CompareProgram() {
        char name[] = "/tmp/kestrel-compare-XXXXXX";
        folder = mkdtemp(name);
        write("old", {100, 100});
        old = (folder / "old").string();
    }
    ~CompareProgram() override { fs::remove_all(folder); }

    void write(const char* name, const std::vector<double>& headlines) const {
        writeSurvey(folder / name, madeUpSurvey({sessionOf(headlines)}));
    }
    void expect(const std::string& arguments, int status, const std::string& output) const {
        Words words = operator""_words(arguments.c_str(), arguments.size());
        words.insert(words.begin(), {"compare", old});
        expectRun(words, status, output, {.program = KESTREL_SURVEY});
    }

    fs::path folder;
    std::string old;
};

TEST_F(CompareProgram, SaysWhatBecameWorse) {
    const std::string fresh = folder / "new";
    write("new", {100, 10});
    expect(fresh, 1, "old .*2 points: 1 worse, .*\nworse\n.*a-l 8 KiB.*-90.*One session a side.*");
    expect(
        fresh + " --format json", 1,
        "\\{\n \"schema\": \"kestrel-comparison/1\".*\"verdict\": \"worse\".*\"only_old\": 0.*"
        "|\\{\n \"schema\": \"kestrel-comparison/1\".*\"only_old\": 0.*\"verdict\": \"worse\".*");
    write("new", {1000, -100});
    expect(fresh, 4, ".*1 better, 1 cannot tell.*new noisy: unknown.*");
    write("new", {1000, 1000});
    expect(fresh, 0, ".*2 better.*");
}

TEST_F(CompareProgram, NamesTheFileAndTheReason) {
    const std::string whole = readFile(old), fresh = folder / "new",
                      line = "kestrel-survey: [^\n]*";
    const auto refused = [&](const std::string& text, const std::string& reason) {
        std::ofstream(fresh) << text;
        expect(fresh, 3, line + fresh + "[^\n]*" + reason + "[^\n]*\n");
    };
    refused("precious", "not a file");
    refused(whole.substr(0, whole.size() / 2), "whole");
    refused("{\"schema\": \"kestrel-survey/2\"}", "newer");
    refused(textOf(madeUpSurvey({madeUpSession({madeUpPoint("l-r", 4096, {1, 1, 1, 1, 1})})})),
            "no point");
    expect(fresh + "er", 3, line + "newer: No such file[^\n]*\n");
    expect(old, 2, line + "twice[^\n]*\n");
    expect(fresh + " --format xml", 2, line + "xml[^\n]*\n");
    expect("", 2, line + "new[^\n]*\n");
}

}  // namespace
}  // namespace survey
