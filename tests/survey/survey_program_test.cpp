// kestrel-survey as its users run it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "run_program.h"
#include "survey/record.h"

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
    expect(quick + "--resume " + file.string(), 3, "[^\n]*is complete[^\n]*\n");
    std::ofstream(folder / "foreign") << "precious";
    for (const std::string& path :
         {(folder / "foreign").string(), folder.string(), std::string("/dev/null")})
        expect(std::string(quick).append("-o ").append(path), 3,
               std::string("kestrel-survey: ").append(path).append(": [^\n]*\n"));
    expect(quick + "-o " + (folder / "no" / "where").string(), 3, "[^\n]*No such file[^\n]*\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "nothing is left behind";
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
    expect("--pattern a-lls --word 8 --size 16K --sample 2 --rounds 1 --pages system,2M", 3,
           tables + "unsupported.*unsupported.*");
    expect("--pattern a-l --size 1000", 3, tables + "unsupported: no whole.*");
    expect("--dry-run --budget 1s", 0, ".* points, [0-9]+ rounds, about [^\n]*\n");
}

/// Starts a long survey, ends it with a signal once the file stands there, and returns how it
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
    for (int i = 0; i < 3000 && !fs::exists(file); ++i)
        usleep(10000);  // it appears with the first round
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
    expect("--pattern f-ssa,f-dsa --resume " + file.string(), 0, tables);
    const Survey whole = readSurvey(file);
    EXPECT_TRUE(whole.sessions[0].complete);
    EXPECT_EQ(whole.sessions[0].points[0].samples.size(), 12u);
}

}  // namespace
}  // namespace survey
