// Reports: what they draw, that no text of a survey becomes part of the page, and how a browser
// takes them.
#include "survey/report/report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "count_of.h"
#include "made_up.h"
#include "run_program.h"
#include "survey/report/html.h"

namespace survey {
namespace {

namespace fs = std::filesystem;

/// Ends whatever it may stand in, and leaves a trace where anything of it is taken for script.
const std::string hostile =
    "-->'\"]]></title></style></script></td><script>document.documentElement.dataset.owned=1"
    "</script><img src=x onerror=\"document.documentElement.dataset.owned=1\">"
    "<!--<script>\u2028{{script}}\x01";

Point pointOn(const std::vector<unsigned>& cpus, const std::string& pattern, std::uint64_t size,
              double figure) {
    Point point = madeUpPoint(pattern, size, std::vector<double>(5, figure));
    point.parameters.cpus = cpus;
    return point;
}

/// One that has something for every section, from a host that wishes us no good.
Survey hostileSurvey(const std::string& id) {
    Point noisy = madeUpPoint("a-l", 32768, {1e9, 2e9, 3e9, 4e9, 5e9});
    Point invalid = madeUpPoint("a-l", 65536, {1e9, 1e9, 1e9, 1e9, 1e9});
    invalid.limit = 1e6;
    Point loaded = pointOn({0}, "l-r", 32768, 3e-9);
    loaded.parameters.loadCpus = {1};
    for (Detail& detail : loaded.details)
        detail.loadBytesPerSecond = 5e9;
    Point far = pointOn({0}, "l-r", 32768, 4e-9), missing = madeUpPoint("f-d8f", 0, {});
    far.parameters.nodes = machine::NumberList{1};
    far.plan = "nodes";
    missing.unsupported = missing.plan = hostile;
    Session session = madeUpSession(
        {madeUpPoint("a-l", 16384, {1e9, 1e9, 1e9, 1e9, 1e9}), noisy, invalid,
         pointOn({0}, "l-r", 16384, 1e-9), pointOn({0}, "l-r", 32768, 2e-9), loaded, far, missing,
         pointOn({0}, "f-s16f", 0, 2e11), pointOn({0, 1}, "s-lms", 0, 3e-9)});
    session.points.push_back(pointOn({0, 1}, "a-l", 16384, 2e9));
    session.points.back().plan = "scaling";
    session.id = id;
    session.label = session.command = session.bootId = session.started = session.plan = hostile;
    session.facts = {{"processor", {{"name", hostile}, {"instruction_sets", {{hostile, true}}}}},
                     {"caches", {{{"level", 1}, {"type", hostile}, {"size_bytes", 24576}}, 7}},
                     {"memory", hostile},
                     {"system", {{"operating_system", {hostile}}}}};
    session.settings = {{{"name", hostile}, {"standing", "warning"}, {"found", hostile}}, hostile};
    judge(session);
    Survey survey = madeUpSurvey({session});
    survey.host.name = survey.host.processor = hostile;
    return survey;
}

Json dataOf(const std::string& page) {
    const std::string open = "id=\"data\">";
    const std::size_t start = page.find(open) + open.size();
    return Json::parse(page.substr(start, page.find("</script>", start) - start));
}

TEST(Report, TextsStayTexts) {
    EXPECT_EQ(escaped("<a b=\"'&\x7f\">"), "&lt;a b=&quot;&#39;&amp;\uFFFD&quot;&gt;");
    const std::string script = scriptText(Json(hostile));
    EXPECT_EQ(script.find_first_of("<>&\xe2"), std::string::npos) << script;
    EXPECT_EQ(Json::parse(script), hostile);
    EXPECT_EQ(filled("{{a}}-{{b}}", {{"a", "{{b}}"}, {"b", "2"}}), "{{b}}-2");
    const std::string page = reportOf({{hostile, hostileSurvey("1")}, {"b", hostileSurvey("2")}});
    EXPECT_EQ(countOf(page, "<script"), 3u) << "the data, the library and ours";
    EXPECT_EQ(countOf(page, "<img") + countOf(page, "<!--"), 0u);
    EXPECT_GT(countOf(page, "&lt;img src=x onerror="), 10u);
    EXPECT_TRUE(isReport(page));
}

TEST(Report, DrawsLikeBesideLike) {
    const std::string page = reportOf({{"a", hostileSurvey("1")}});
    const Json one = dataOf(page);
    ASSERT_EQ(one.size(), 5u) << "two of sizes, scaling, load and the roofline";
    const Json& reads = one[0]["series"][0];
    EXPECT_EQ(reads["name"], "a-l");
    ASSERT_EQ(reads["marks"].size(), 2u) << "what is invalid is not drawn";
    EXPECT_EQ(reads["marks"][0]["noisy"], false);
    EXPECT_EQ(reads["marks"][1]["noisy"], true);
    EXPECT_EQ(reads["marks"][1]["low"], 1.0) << "GB/s";
    EXPECT_EQ(reads["marks"][1]["high"], 5.0);
    EXPECT_EQ(one[0]["edges"][0]["text"], "L1 24 KiB");
    EXPECT_EQ(one[2]["series"][0]["marks"].size(), 2u) << "1 and 2 CPUs, of two plans";
    EXPECT_EQ(one[3]["series"][0]["marks"][1]["x"], 5.0) << "beside 5 GB/s";
    EXPECT_EQ(countOf(page, "class=\"depth-8\">4.00"), 1u) << "the far node's memory is slower";
    const Json two = dataOf(reportOf({{"a", hostileSurvey("1")}, {"b", hostileSurvey("2")}}));
    ASSERT_EQ(two.size(), 5u);
    EXPECT_EQ(two[0]["series"].size(), 2u);
    EXPECT_NE(two[0]["series"][0]["name"], two[0]["series"][1]["name"]);
}

class ReportProgram : public testing::Test {
  protected:
    ReportProgram() {
        char name[] = "/tmp/kestrel-report-XXXXXX";
        folder = mkdtemp(name);
        writeSurvey(folder / "a.json", hostileSurvey("1"));
        writeSurvey(folder / "b.json", hostileSurvey("2"));
    }
    ~ReportProgram() override { fs::remove_all(folder); }

    std::string at(const char* name) const { return folder / name; }
    static void expect(Words arguments, int status, const std::string& output) {
        arguments.insert(arguments.begin(), "report");
        expectRun(arguments, status, output, {.program = KESTREL_SURVEY});
    }

    fs::path folder;
};

TEST_F(ReportProgram, ReplacesNothingButReports) {
    const std::string page = at("page.html"), other = at("other.html");
    std::ofstream(other) << "<!DOCTYPE html>\n<title>precious</title>";
    for (int i = 0; i < 2; ++i)
        expect({at("a.json"), at("b.json"), "-o", page}, 0, "");
    expect({at("a.json"), "-o", other}, 3, "[^\n]*other.html: is no report[^\n]*\n");
    expect({at("a.json"), "-o", at("b.json")}, 3, "[^\n]*b.json: is no report[^\n]*\n");
    expect({at("a.json"), "-o", "/dev/null"}, 3, "[^\n]*/dev/null: is no ordinary file\n");
    expect({at("a.json"), "-o", at("no/where.html")}, 3, "[^\n]*No such file[^\n]*\n");
    expect({at("a.json"), at("a.json"), "-o", page}, 2, "[^\n]*a.json: is named twice\n");
    fs::copy(at("a.json"), at("copy.json"));
    expect({at("a.json"), at("copy.json"), "-o", page}, 3, "[^\n]*copy.json: its session[^\n]*\n");
    expect({other, "-o", page}, 3, "[^\n]*other.html: not a file of kestrel-survey[^\n]*\n");
    expect({at("a.json")}, 2, "[^\n]*--output[^\n]*\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 5) << "nothing is left behind";
}

/// Chromium of any name, or an empty text.
std::string browser() {
    for (const char* const path : {"/usr/bin/chromium", "/usr/bin/chromium-headless-shell"})
        if (access(path, X_OK) == 0)
            return path;
    return {};
}

/// The page as it stands once its script has run, and what the browser complained about.
std::string shown(const std::string& path, const fs::path& folder) {
    const std::string program = browser();
    const Outcome outcome = runProgram(
        {"--headless", "--no-sandbox", "--disable-gpu", "--enable-logging=stderr",
         "--virtual-time-budget=5000", "--user-data-dir=" + (folder / "browser").string(),
         "--dump-dom", "file://" + path},
        {.program = program.c_str()});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    return outcome.output;
}

TEST_F(ReportProgram, ABrowserDrawsItAndAsksNobody) {
    if (browser().empty())
        GTEST_SKIP() << "there is no chromium here to look at reports with";
    const std::string page = at("page.html");
    expect({at("a.json"), at("b.json"), "-o", page}, 0, "");
    const std::string seen = shown(page, folder);
    EXPECT_EQ(countOf(seen, " data-drawn=\""), 5u);
    EXPECT_EQ(countOf(seen, " data-drawn=\"0\""), 0u);
    EXPECT_EQ(countOf(seen, "data-owned"), 0u);
    // The page's policy forbids to load anything: an attempt is a complaint.
    EXPECT_EQ(countOf(seen, "CONSOLE"), 0u) << seen.substr(0, seen.find("<!DOCTYPE"));
    std::string spoilt = readFile(page);
    spoilt.insert(spoilt.find("</main>"), "<img src=\"https://example.invalid/x.png\">");
    std::ofstream(at("spoilt.html")) << spoilt;
    EXPECT_EQ(countOf(shown(at("spoilt.html"), folder), "CONSOLE"), 1u) << "and is seen";
}

}  // namespace
}  // namespace survey
