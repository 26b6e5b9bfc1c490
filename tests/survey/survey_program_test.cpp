// kestrel-survey as its users run it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "run_program.h"
#include "survey/record.h"
#include "survey/run/claim.h"
#include "survey/run/measure.h"

namespace survey {
namespace {

namespace fs = std::filesystem;

class SurveyProgram : public testing::Test {
  protected:
    SurveyProgram() {
        char name[] = "/tmp/kestrel-survey-XXXXXX";
        folder = mkdtemp(name);
        file = folder / "survey.json";
    }
    ~SurveyProgram() override { fs::remove_all(folder); }

    /// Runs `kestrel-survey run` with quick samples of these points.
    static void expect(const std::string& arguments, int status, const std::string& output) {
        Words words = operator""_words(arguments.c_str(), arguments.size());
        words.insert(words.begin(), "run");
        expectRun(words, status, output, {.program = KESTREL_SURVEY});
    }

    fs::path folder, file;
};

const std::string quick = "--pattern f-ssa,a-l --size 16K --sample 2 --rounds 1 ";
const std::string tables = "[^\n]*: [^\n]*session of [^\n]*\n.*";

TEST_F(SurveyProgram, WritesAppendsAndReplacesNothingButSurveys) {
    expect(quick + "-o " + file.string(), 0, tables);
    expect(quick + "--append " + file.string(), 0, tables);
    const Survey survey = readSurvey(file);
    ASSERT_EQ(survey.sessions.size(), 2u);
    EXPECT_TRUE(survey.sessions[1].complete);
    EXPECT_EQ(survey.sessions[1].points.size(), 2u);
    EXPECT_GT(survey.sessions[1].points[1].summary.value, 1e9) << "bytes a second";
    EXPECT_GE(survey.sessions[1].points[1].details.at(0).fewestPasses(), 5u);
    expect(quick + "--name other --append " + file.string(), 3, "[^\n]*another host, [^\n]*\n");
    expect("--pattern f-ssa --resume " + file.string(), 3, "[^\n]*is complete[^\n]*\n");
    std::ofstream(folder / "foreign") << "precious";
    for (const std::string& path :
         {(folder / "foreign").string(), folder.string(), std::string("/dev/null")})
        expect(std::string(quick).append("-o ").append(path), 3,
               std::string("kestrel-survey: ").append(path).append(": [^\n]*\n"));
    expect(quick + "--budget 0.001 -o " + file.string(), 2, "[^\n]*--budget[^\n]*\n");
    EXPECT_EQ(readSurvey(file).sessions.size(), 2u);
    expect(quick + "-o " + (folder / "no" / "where").string(), 3, "[^\n]*No such file[^\n]*\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "nothing is left behind";
}

TEST_F(SurveyProgram, KeepsOffAFileThatAnotherOneWrites) {
    Claim claim;
    ASSERT_TRUE(claim.takeFile(file));
    EXPECT_TRUE(Claim().takeFile(file.string() + "2"));
    fs::create_symlink(folder, folder / "link");
    expect("--pattern f-ssa --append " + (folder / "link" / "survey.json").string(), 3,
           "[^\n]*json: another survey is writing[^\n]*\n");
}

TEST_F(SurveyProgram, RefusesBeforeItMeasures) {
    const std::pair<const char*, const char*> cases[] = {{"nonsense", "no plan 'nonsense'"},
                                                         {"--pattern a-x", "no pattern 'a-x'"},
                                                         {"--pattern a-l, ", "no pattern ''"},
                                                         {"--word 12", "12 bytes"},
                                                         {"--size 8M-4K", "backwards"},
                                                         {"--pages 4M", "'4M'"},
                                                         {"--cpu x", "'x'"},
                                                         {"--cpu 1023", "CPU 1023"},
                                                         {"--node 31", "node 31|no list"},
                                                         {"--node 32", "'32'"},
                                                         {"--budget soon", "'soon'"},
                                                         {"--rounds 0", "rounds"},
                                                         {"--bogus", "bogus"},
                                                         {"--name --dry-run", "--name"},
                                                         {"nodes --cpu 0", "all CPUs"},
                                                         {"sharing --cpu 0", "two CPUs"},
                                                         {"peak --all", "--all"},
                                                         {"hierarchy --pattern a-l", "exclude"},
                                                         {"-o a --append b", "append"}};
    for (const auto& [arguments, says] : cases)
        expect(arguments, 2, std::string("kestrel-survey: [^\n]*(") + says + ")[^\n]*\n");
}

TEST_F(SurveyProgram, SaysWhatCannotBeMeasured) {
    const std::string none = "kestrel-survey: nothing could be measured\n";
    expect("--pattern a-lls --word 8 --size 16K --sample 2 --rounds 1 --pages system,2M", 3,
           none + tables + "unsupported.*unsupported.*");
    expect("--pattern a-l --size 1000", 3, none + tables + "unsupported: no whole.*");
    expect("--dry-run --budget 1s", 0, ".* points?, [0-9]+ rounds?, about [^\n]*\n");
}

bool hasSamples(const fs::path& file) {
    return fs::exists(file) && !readSurvey(file).sessions.at(0).points.at(0).samples.empty();
}

/// Starts a long survey, ends it with a signal once samples stand in the file, and returns how it
/// ended.
int endedBy(int signal, const fs::path& file) {
    fs::remove(file);
    const pid_t child = fork();
    if (child == 0) {
        freopen("/dev/null", "w", stdout);
        execl(KESTREL_SURVEY, KESTREL_SURVEY, "run", "--pattern", "f-ssa,f-dsa", "--rounds", "12",
              "--seed", "1", "-o", file.c_str(), nullptr);
        _exit(127);
    }
    for (int i = 0; i < 3000 && !hasSamples(file); ++i)
        usleep(10000);
    kill(child, signal);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(SurveyProgram, KeepsWhatItHasMeasuredAndGoesOn) {
    for (const auto& [signal, status] :
         {std::pair{SIGINT, 130}, {SIGTERM, 143}, {SIGKILL, -SIGKILL}}) {
        EXPECT_EQ(endedBy(signal, file), status);
        const Survey cut = readSurvey(file);
        EXPECT_FALSE(cut.sessions[0].complete);
        expect("--pattern f-ssa --resume " + file.string(), 3, "[^\n]*another plan[^\n]*\n");
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
    }
    const std::string resume = "--pattern f-ssa,f-dsa --resume " + file.string();
    expect(resume + " --budget 0.001", 2, "[^\n]*--budget[^\n]*\n");
    expect(resume + " --seed 2", 2, "[^\n]*begun with 1\n");
    Survey cut = readSurvey(file);
    expect(resume, 0, tables);
    const Survey whole = readSurvey(file);
    EXPECT_TRUE(whole.sessions[0].complete);
    EXPECT_EQ(whole.sessions[0].points[0].samples.size(), 12u);
    ASSERT_TRUE(hasSamples(file));
    EXPECT_EQ(whole.sessions[0].points[0].details[0].started,
              cut.sessions[0].points[0].details.at(0).started)
        << "what was kept is not measured again";
    // As if a budget had cut it to a point, while the counter's rate was found twice as high.
    Session& session = cut.sessions[0];
    session.rounds = 1;
    session.points.pop_back();
    Point& point = session.points[0];
    point.samples.clear();
    point.details.clear();
    session.counterHz *= 2;
    writeSurvey(file, cut);
    expect(resume, 0, "[^\n]* first 1 of 2 points\n" + tables);
    point = readSurvey(file).sessions[0].points.at(0);
    EXPECT_NEAR(point.samples.at(0),
                valueOf(point.unit(), point.details[0].workers, session.counterHz),
                1e-6 * point.samples[0]);
    session.program.width = 96;
    writeSurvey(file, cut);
    expect(resume, 3, "[^\n]*the 96-bit program\n");
}

}  // namespace
}  // namespace survey
