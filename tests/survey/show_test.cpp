// Surveys as tables and as JSON for programs.
#include "survey/show.h"

#include <gtest/gtest.h>

#include <sstream>

#include "made_up.h"
#include "survey/levels.h"

namespace survey {
namespace {

Survey surveyToShow() {
    Survey survey =
        madeUpSurvey({madeUpSession({madeUpPoint("a-l", 16384, {1e9, 1e9, 1e9, 1e9, 1e9}),
                                     madeUpPoint("a-l", 32768, {1e9, 2e9, 3e9, 4e9, 5e9})})});
    survey.host.name = "red \x1b[31m";
    survey.sessions[0].facts["caches"] = {
        {{"level", 1}, {"type", "data"}, {"size_bytes", 49152}, {"cpus", "0-1"}}, "no cache"};
    return survey;
}

std::string textFor(const Survey& survey, const Shown& shown) {
    std::ostringstream out;
    show(out, survey, survey.sessions[0], shown);
    return out.str();
}

TEST(Show, NarrowsToWhatWasAskedFor) {
    Shown onlyNoisy, narrow;
    onlyNoisy.onlyNoisy = true;
    narrow.levels = false;
    narrow.containing = "32 KiB";
    const std::string all = textFor(surveyToShow(), {}), noisy = textFor(surveyToShow(), onlyNoisy);
    EXPECT_EQ(all.find('\x1b'), std::string::npos) << "a file does not steer the terminal";
    for (const char* const text : {"16 KiB", "32 KiB", "L1 (48 KiB)"})
        EXPECT_NE(all.find(text), std::string::npos) << text;
    EXPECT_EQ(noisy.find("16 KiB"), std::string::npos);
    EXPECT_NE(noisy.find("32 KiB"), std::string::npos);
    const Json json = showJson({{"file", surveyToShow()}}, narrow);
    EXPECT_EQ(json["schema"], "kestrel-survey-show/1");
    const Json& session = json["files"][0]["sessions"][0];
    EXPECT_EQ(session["points"].size(), 1u);
    EXPECT_EQ(session["points"][0]["value"], 3e9);
    EXPECT_FALSE(session.contains("hierarchies"));
}

TEST(Show, ACacheIsDividedAmongThoseThatUseIt) {
    const auto sizes = levelSizes(surveyToShow().sessions[0].facts, {0, 1});
    ASSERT_EQ(sizes.size(), 2u);
    EXPECT_EQ(sizes[0].bytes, 24576u);
}

}  // namespace
}  // namespace survey
