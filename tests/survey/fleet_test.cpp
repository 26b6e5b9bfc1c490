// Fleets: names of hosts, and which figures stand out among their peers'.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "made_up.h"
#include "run_program.h"
#include "survey/fleet/fleet_report.h"
#include "survey/fleet/node_list.h"
#include "survey/skim.h"

namespace survey {
namespace {

std::string whyNoList(const std::string& list) {
    try {
        parseNodeList(list);
    } catch (const std::invalid_argument& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(NodeList, ReadsAndFolds) {
    for (const std::string list : {"n[01-32]", "n[8-12]", "a,n[1-3,5],z", "n[098-102].example.org",
                                   "login", "r1n3", "host-99999999999999999999", "n[9,09]"})
        EXPECT_EQ(nodeListText(parseNodeList(list)), list);
    EXPECT_EQ(parseNodeList("n[08-10,9],x,x"),
              (std::vector<std::string>{"n08", "n09", "n10", "n9", "x"}));
    EXPECT_EQ(nodeListText({"n2", "n10", "n1", "m", "n3"}), "m,n[1-3,10]");
    EXPECT_EQ(nodeListText({}), "");
}

TEST(NodeList, RefusesInALine) {
    EXPECT_EQ(whyNoList("n[1-2"), "'n[1-2' has a bracket without its other one");
    EXPECT_EQ(whyNoList("n]1["), "'n]1[' has a bracket without its other one");
    EXPECT_EQ(whyNoList("a,,b"), "'' is no name of a host");
    EXPECT_EQ(whyNoList("a b"), "'a b' is no name of a host");
    EXPECT_EQ(whyNoList("n[3-1]"), "'n[3-1]' holds a range that runs backwards");
    EXPECT_EQ(whyNoList("r[1-2]n[1-2]"), "'r[1-2]n[1-2]' has more than one pair of brackets");
    for (const std::string bad : {"n[]", "n[a-b]", "n[1-]", "n[1-2-3]", "n[99999999999999999999]"})
        EXPECT_EQ(whyNoList(bad), "'" + bad + "' holds no ranges of numbers such as [01-04,07]");
    EXPECT_EQ(whyNoList("n[1-999999999]"), "more than 100000 names");
}

TEST(Skim, LeavesOutMembersButNothingElse) {
    const auto skimmed = [](const char* text) { return withoutMembers(text, {"x", "y"}); };
    EXPECT_EQ(skimmed(R"({"x" : [1,{"y":"]\""}],"a":"x","b":{"y":2},"z":["x"]})"),
              R"({"x" :null,"a":"x","b":{"y":null},"z":["x"]})");
    EXPECT_EQ(skimmed(R"({"x":[1,"a)"), R"({"x":null)") << "cut off stays cut off";
    EXPECT_EQ(skimmed(R"("x)"), R"("x)");
}

/// A host whose points are these shares of 100 GB/s, at sizes that double.
Survey hostWith(const std::string& name, const std::vector<double>& shares, double spread = 0) {
    std::vector<Point> points;
    std::uint64_t size = 4096;
    for (const double share : shares) {
        const double value = 1e11 * share;
        points.push_back(madeUpPoint(
            "a-l", size *= 2, {value, value, value, value * (1 + spread), value * (1 - spread)}));
    }
    Survey survey = madeUpSurvey({madeUpSession(points)});
    survey.host.name = name;
    return survey;
}

/// Hosts h0 to h5 that differ by up to half a percent.
Fleet healthy(std::size_t points) {
    Fleet fleet;
    for (int i = 0; i < 6; ++i)
        fleet.add("file",
                  hostWith("h" + std::to_string(i), std::vector<double>(points, 1 + 0.001 * i)));
    return fleet;
}

/// "h6 -10% ok": the outliers of the only group.
std::vector<std::string> outliersOf(const Fleet& fleet) {
    std::vector<std::string> texts;
    const std::vector<FleetGroup> groups = compareHosts(fleet);
    for (const Outlier& outlier : groups.at(0).outliers)
        texts.push_back(fleet.hosts[outlier.host].name + " " +
                        std::to_string(std::lround(100 * outlier.difference)) + "% " +
                        outlier.cause);
    return texts;
}

TEST(Fleet, NamesWhatStandsOutWorstFirst) {
    EXPECT_EQ(outliersOf(healthy(3)), std::vector<std::string>());
    Fleet fleet = healthy(3);
    fleet.add("file", hostWith("h6", {0.9, 1, 0.6}));
    fleet.add("file", hostWith("h7", {1, 0.97, 1.3}));
    EXPECT_EQ(outliersOf(fleet), (std::vector<std::string>{"h6 -40% ", "h7 30% ", "h6 -10% "}))
        << "3 % are not enough";
    Fleet noisy = healthy(1);
    noisy.add("file", hostWith("h6", {0.5}, 0.2));
    EXPECT_EQ(outliersOf(noisy), std::vector<std::string>{"h6 -50% unknown"});
    EXPECT_TRUE(noisy.hosts[6].noisy());
}

TEST(Fleet, ComparesOnlyWhereFivePeersCanBeTrusted) {
    const auto comparedOf = [](std::size_t good, std::size_t noisy) {
        Fleet fleet;
        for (std::size_t i = 0; i < good + noisy; ++i)
            fleet.add("file", hostWith("h" + std::to_string(i), {1}, i < good ? 0 : 0.2));
        return compareHosts(fleet).at(0).compared;
    };
    EXPECT_EQ(comparedOf(5, 0), 0u);
    EXPECT_EQ(comparedOf(6, 0), 1u);
    EXPECT_EQ(comparedOf(4, 20), 0u);
    EXPECT_EQ(comparedOf(5, 1), 1u) << "the noisy one has five peers";
    Fleet fleet = healthy(1);
    Survey other = hostWith("other", {0.5});
    other.host.processor = "another";
    fleet.add("file", other);
    EXPECT_EQ(compareHosts(fleet).size(), 2u);
    EXPECT_EQ(outliersOf(fleet), std::vector<std::string>());
}

TEST(Fleet, NeighboursInSizeTellHowAPointVaries) {
    Fleet fleet;  // the middle point's hosts agree by chance
    for (const double share : {0.8, 0.9, 1.0, 1.1, 1.2, 1.3})
        fleet.add("file", hostWith("h" + std::to_string(share), {share, 1, share}));
    fleet.add("file", hostWith("h6", {1, 0.85, 1}));
    EXPECT_EQ(outliersOf(fleet), std::vector<std::string>());
}

TEST(Fleet, TellsAnotherPlanAndTheFactsApart) {
    Fleet fleet = healthy(4);
    fleet.add("file", hostWith("part", {1, 1}));
    fleet.add("file", hostWith("less", {1}));
    EXPECT_EQ(compareHosts(fleet).at(0).ofAnotherPlan, std::vector<std::size_t>{7});
    const auto facts = [](const char* governor, const char* kernel) {
        Session session;
        session.facts = {{"power", {{"governors", {{{"governor", governor}, {"cpus", "0"}}}}}},
                         {"system", {{"kernel_release", kernel}}}};
        return tellingFacts(session);
    };
    const auto apart = factsApart(
        facts("powersave", "6.1"),
        {facts("performance", "6.1"), facts("performance", "6.2"), facts("performance", "6.3")});
    ASSERT_EQ(apart.size(), 1u) << "no kernel is usual";
    EXPECT_EQ(apart[0].name + apart[0].value + apart[0].usual, "governorpowersaveperformance");
}

class FleetProgram : public testing::Test {
  protected:
    FleetProgram() {
        char name[] = "/tmp/kestrel-fleet-XXXXXX";
        folder = mkdtemp(name);
        for (int i = 1; i <= 6; ++i)
            writeSurvey(path(i), hostWith("n" + std::to_string(i), {1, 1}));
    }
    ~FleetProgram() override { std::filesystem::remove_all(folder); }

    [[nodiscard]] std::string path(int host) const {
        return (folder / std::to_string(host)).string();
    }
    /// Runs fleet on the six files and what follows.
    void expect(const std::string& more, int status, const std::string& output) const {
        Words words{"fleet"};
        for (int i = 1; i <= 6; ++i)
            words.push_back(path(i));
        const Words others = operator""_words(more.c_str(), more.size());
        words.insert(words.end(), others.begin(), others.end());
        expectRun(words, status, output, {.program = KESTREL_SURVEY});
    }

    std::filesystem::path folder;
};

TEST_F(FleetProgram, TellsEachKindOfTroubleByItsStatus) {
    expect("--expect n[1-6]", 0, "6 hosts, .*n\\[1-6\\]\n2 of 2 points.*no host stands out\n");
    expect("--expect n[1-9]", 1, "6 hosts, [^\n]*\nmissing +n\\[7-9\\]\n.*");
    expect("--expect n[1", 2, "kestrel-survey: --expect: 'n\\[1' [^\n]*\n");
    expect(path(1) + "/../1", 2, "kestrel-survey: [^\n]*1: is named twice\n");
    std::ofstream(path(7)) << R"({"schema": "kestrel-survey/9"})";
    std::ofstream(path(8)) << textOf(hostWith("n8", {1})).substr(0, 900);
    writeSurvey(path(9), hostWith("n3", {1, 1}));
    expect(path(7) + " " + path(8) + " " + path(9), 1,
           "6 hosts, [^\n]*\nbroken +[^\n]*7: written by a newer[^\n]*\nbroken +[^\n]*8: "
           "[^\n]*\nsame name +[^\n]*9: its host is called n3, as that of [^\n]*3;[^\n]*\n.*");
    expect("-o " + (folder / "no" / "where").string(), 3, "[^\n]*No such file[^\n]*\n");
    std::filesystem::create_symlink(path(2), folder / "link");
    expect("-o " + (folder / "link").string(), 2, "[^\n]*link is one of the files to read\n");
    std::ofstream(folder / "empty").flush();
    expect("-o " + (folder / "empty").string(), 0, "");
    EXPECT_NE(std::filesystem::file_size(folder / "empty"), 0u);
    expect("-o " + path(8), 3, "[^\n]*8: is a survey, and is not replaced\n");
    std::filesystem::remove(path(6));
    expect("", 3, "5 hosts.*broken +[^\n]*6: No such file.*nothing was compared: [^\n]*\n");
    writeSurvey(path(6), hostWith("n6", {0.5, 1}));
    std::ofstream(path(7) + "\xff") << "not UTF-8";
    expect("--format json " + path(7) + "\xff", 1,
           R"(.*"schema": "kestrel-fleet/1".*"host": "n6".*)");
}

}  // namespace
}  // namespace survey
