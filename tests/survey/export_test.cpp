// What other programs read of a survey.
#include "survey/export/export.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "count_of.h"
#include "made_up.h"

namespace survey {
namespace {

Survey surveyToExport() {
    Point load = madeUpPoint("a-l", 16384, {1e9, 1.01e9});
    Point chase = madeUpPoint("l-r", 1 << 20, {2e-9});
    Point invalid = madeUpPoint("a-lls", 16384, {1e9});
    invalid.limit = 1e8;
    Point missing = madeUpPoint("f-d8f", 0, {});
    missing.unsupported = "nothing counts";
    Survey survey = madeUpSurvey({madeUpSession({load, chase, invalid, missing})});
    survey.host.name = "a \"quoted\\,\nname";
    return survey;
}

TEST(Export, CsvHasARowForEachSample) {
    const std::string text = csvOf(surveyToExport());
    EXPECT_EQ(countOf(text, "\"a \"\"quoted\\,\nname\",processor,"), 4u);
    EXPECT_NE(text.find(",B/s,noisy,too few samples,2,1010000000.0,"), std::string::npos);
    // Each row has as many cells as the head; the name of the host has a comma and a line end.
    Survey nameless = surveyToExport();
    nameless.host = {.name = "", .processor = "processor"};
    EXPECT_EQ(countOf(csvOf(nameless), "\n,processor,"), 4u);
    const auto commas = [](const std::string& line) { return std::ranges::count(line, ','); };
    const std::string head = text.substr(0, text.find('\n'));
    EXPECT_EQ(commas(text), 5 * commas(head) + 4);
}

TEST(Export, BenchmarkHasTimesThatFollowTheFigures) {
    const Json json = Json::parse(benchmarkOf(surveyToExport()));
    const Json& all = json.at("benchmarks");
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0]["name"], "hierarchy/a-l/size:16384/word:64/cpus:0/nodes:0");
    EXPECT_EQ(all[1]["repetition_index"], 1);
    EXPECT_EQ(all[1]["repetitions"], 2);
    // 1e9 bytes in ten passes at 1 GB/s
    EXPECT_DOUBLE_EQ(all[0]["real_time"].get<double>(), 1e8);
    EXPECT_DOUBLE_EQ(all[1]["real_time"].get<double>(), 1e8 / 1.01);
    EXPECT_EQ(all[0]["iterations"], 10);
    EXPECT_DOUBLE_EQ(all[2]["real_time"].get<double>(), 2) << "ns a load";
    EXPECT_EQ(all[2]["iterations"], 1000000000);
    EXPECT_EQ(all[3]["error_occurred"], true);
    Survey bare = surveyToExport();
    bare.sessions[0].points[0].details.clear();
    EXPECT_THROW(benchmarkOf(bare), std::runtime_error);
}

TEST(Export, PrometheusHasGaugesOfTheLastSession) {
    Survey survey = surveyToExport();
    survey.sessions.insert(survey.sessions.begin(), survey.sessions[0]);
    const std::string text = prometheusOf(survey);
    EXPECT_EQ(countOf(text, R"({host="a \"quoted\\,\nname",plan=)"), 5u);
    EXPECT_EQ(countOf(text, "kestrel_survey_bandwidth_bytes_per_second{"), 1u) << "none invalid";
    EXPECT_NE(text.find("pages=\"system\"} 2e-09\n"), std::string::npos);
    EXPECT_NE(text.find("# TYPE kestrel_survey_load_seconds gauge\n"), std::string::npos);
    EXPECT_NE(text.find("name\"} 1767225600.0\n"), std::string::npos) << "the first of 2026";
}

}  // namespace
}  // namespace survey
