// Survey files: what is written is read, and what is wrong with a file is said in one line.
#include "survey/record.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "made_up.h"

namespace survey {
namespace {

Survey surveyToKeep() {
    Point chase = madeUpPoint("l-r", 1 << 20, {2e-9, 2.1e-9, 2e-9, 2e-9, 2e-9});
    chase.parameters.loadCpus = {1};
    chase.details[0].evidence = {{"steal_share", 0.25}};
    for (Detail& detail : chase.details)
        detail.loadBytesPerSecond = 5e9;
    Point missing = madeUpPoint("f-d8f", 0, {});
    missing.unsupported = "nothing counts";
    Survey survey = madeUpSurvey({madeUpSession({chase, missing})});
    survey.sessions[0].label = "not \xff UTF-8, \"quoted\" </script>";
    return survey;
}

std::string whyNoSurvey(const std::string& text) {
    try {
        parseSurvey(text);
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(Record, WhatIsWrittenIsReadAndJudgedAnew) {
    std::string text = textOf(surveyToKeep());
    const Survey read = parseSurvey(text);
    EXPECT_EQ(textOf(read), text);
    const Point& chase = read.sessions[0].points[0];
    EXPECT_EQ(chase.parameters, surveyToKeep().sessions[0].points[0].parameters);
    EXPECT_EQ(chase.load, 5e9);
    // Nothing that follows from the samples is believed.
    const std::string value = "\"value\":2e-09";
    text.replace(text.find(value), value.size(), "\"value\":1e-09");
    EXPECT_EQ(parseSurvey(text).sessions[0].points[0].summary.value, 2e-9);
}

TEST(Record, SaysInALineWhatIsWrong) {
    const std::string good = textOf(surveyToKeep());
    const auto with = [&good](const std::string& old, const std::string& replacement) {
        std::string text = good;
        text.replace(text.find(old), old.size(), replacement);
        return whyNoSurvey(text);
    };
    EXPECT_EQ(whyNoSurvey(""), "not a file of kestrel-survey: no whole JSON text");
    EXPECT_EQ(whyNoSurvey("{\"schema\": 3}"), "not a file of kestrel-survey");
    EXPECT_EQ(whyNoSurvey("[1]"), "not a file of kestrel-survey");
    EXPECT_EQ(whyNoSurvey(good.substr(0, good.size() / 2)),
              "not a file of kestrel-survey: no whole JSON text");
    EXPECT_EQ(with("survey/1", "survey/2"), "written by a newer kestrel-survey (format 2)");
    EXPECT_EQ(with("\"plan\":\"hierarchy\",\"parameters\"", "\"parameters\""),
              "sessions[0]: points[0]: key 'plan' not found");
    EXPECT_EQ(with("\"l-r\"", "\"l-x\""), "sessions[0]: points[0]: there is no pattern 'l-x'");
    EXPECT_EQ(with("[2e-09,2.1e-09,", "[2e-09,-1,"),
              "sessions[0]: points[0]: a sample is not positive");
    EXPECT_EQ(with("[2e-09,2.1e-09,", "[2e-09,"),
              "sessions[0]: points[0]: samples and details differ in number");
    EXPECT_EQ(with("\"counter_hz\":1000000000.0", "\"counter_hz\":\"fast\""),
              "sessions[0]: type must be number, but is string");
}

TEST(Record, FilesAreReplacedWholeOrNotAtAll) {
    namespace fs = std::filesystem;
    char folder[] = "/tmp/kestrel-record-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const fs::path file = fs::path(folder) / "survey.json", link = fs::path(folder) / "link.json";
    writeSurvey(file, surveyToKeep());
    chmod(file.c_str(), 0640);
    fs::create_symlink(file, link);
    std::ofstream(file.string() + ".part-" + std::to_string(getpid())) << "of a killed run";
    Survey changed = surveyToKeep();
    changed.host.name = "changed";
    writeSurvey(link, changed);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readSurvey(file).host.name, "changed");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    EXPECT_EQ(readResults(file).sessions[0].points[0].load, 5e9)
        << "from the file, without details";
    EXPECT_THROW(writeSurvey(fs::path(folder) / "none" / "x.json", changed), FileError);
    EXPECT_THROW(readSurvey(folder), FileError);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3) << "nothing is left behind";
    fs::remove_all(folder);
}

}  // namespace
}  // namespace survey
