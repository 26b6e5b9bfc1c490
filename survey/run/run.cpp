#include "survey/run/run.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <random>
#include <span>

#include "machine/json.h"
#include "machine/text.h"
#include "survey/clock_text.h"
#include "survey/columns.h"
#include "survey/run/claim.h"
#include "survey/run/core_limit.h"
#include "survey/run/progress.h"
#include "survey/run/settings.h"
#include "survey/show.h"
#include "survey/verdict.h"

namespace survey {
namespace {

/// The signal that asked for the end; 0: none has.
volatile std::sig_atomic_t endedBy = 0;

/// SIGINT and SIGTERM end the survey, without the sample under way; they interrupt sleeps.
void catchSignals() {
    struct sigaction action {};
    action.sa_handler = [](int signal) { endedBy = signal; };
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

std::string randomId() {
    std::random_device random;
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "%08x%08x%08x%08x", random(), random(), random(),
                  random());
    return text.data();
}

Host hostOf(const machine::Facts& facts, const std::string& name) {
    return {
        .name = name.empty() ? facts.system.hostName.value_or("unknown") : machine::validText(name),
        .processor = facts.processor.name.value_or("unknown"),
        .cpus = facts.topology.cpus.size(),
        .packages = facts.topology.packages.value_or(0),
        .memoryBytes = facts.memory.totalBytes.value_or(0)};
}

/// CPUs and nodes that were asked for and are not there, or not for this process.
void checkPlaces(const std::vector<PlannedPoint>& points, const Ground& ground) {
    for (const PlannedPoint& point : points) {
        for (const unsigned cpu : point.parameters.cpus)
            if (std::ranges::find(ground.cpus, cpu) == ground.cpus.end())
                throw UsageError("--cpu: CPU " + std::to_string(cpu) +
                                 " is not online or not allowed to this process");
        for (const unsigned node : point.parameters.nodes.value_or(machine::NumberList{}))
            if (!ground.facts.nodes.empty() &&
                std::ranges::find(ground.facts.nodes, node, &machine::Node::number) ==
                    ground.facts.nodes.end())
                throw UsageError("--node: there is no node " + std::to_string(node));
    }
}

/// Memory that a point's arrays take together must be there before anything is measured.
void checkMemory(const std::vector<PlannedPoint>& points, const Ground& ground) {
    const std::uint64_t available = ground.freeBytes.value_or(UINT64_MAX);
    for (const PlannedPoint& point : points) {
        // These come from pools, which are no free memory.
        const auto pages = point.parameters.pages.value_or(Kestrel::pkSystem);
        if (pages == Kestrel::pk2M || pages == Kestrel::pk1G)
            continue;
        const bool shared = rowOf(point.parameters).sharesArray();
        const std::uint64_t arrays =
            (shared ? 1 : point.parameters.cpus.size()) + point.parameters.loadCpus.size();
        if (point.parameters.sizeBytes.value_or(0) * arrays > available)
            throw UsageError("--size: " + std::to_string(arrays) + " × " +
                             sizeText(*point.parameters.sizeBytes) + " is more than the " +
                             sizeText(available) + " of memory that are free or allowed");
    }
}

Session newSession(const RunOrder& order, const Ground& ground) {
    Session session;
    session.id = randomId();
    session.label = machine::validText(order.label);
    session.started = utcNow();
    session.plan = order.choices.hasPoints() ? "points" : order.plan;
    session.command = machine::validText(order.command);
    session.bootId = ground.facts.system.bootId.value_or("unknown");
    session.seed = order.seed.value_or(std::random_device()());
    session.rounds = order.rounds.value_or(usualRounds);
    session.program = thisProgram();
    session.facts = machine::toJson(ground.facts);
    session.settings = toJson(lookAtSettings(ground.facts, ground.cpus));
    session.counterConstant = ground.facts.processor.counterInvariant;
    session.counterHz = static_cast<double>(ground.facts.processor.counterHz.value_or(0));
    return session;
}

std::vector<Point> pointsFor(const std::vector<PlannedPoint>& planned, const Ground& ground) {
    std::vector<Point> points;
    for (const PlannedPoint& each : planned) {
        Point point;
        point.plan = each.plan;
        point.parameters = each.parameters;
        point.unsupported = whyUnsupported(each.parameters, ground);
        points.push_back(std::move(point));
    }
    return points;
}

/// The survey that the session is going to stand in.
class Output {
  public:
    /// Claims the file before it is read: what another survey writes after that would be lost.
    Output(const RunOrder& order, const Host& host, Claim& claim) : path(pathOf(order)) {
        survey.host = host;
        if (path.empty())
            return;
        if (!claim.takeFile(path))
            throw FileError(path, "another survey is writing to it");
        struct stat status {};
        const bool exists = stat(path.c_str(), &status) == 0;
        if (exists && !S_ISREG(status.st_mode))
            throw FileError(path, "is no ordinary file");
        if (order.output.empty() || (exists && status.st_size != 0)) {
            Survey old = readSurvey(path);  // nothing but a survey is ever replaced
            if (!order.output.empty())
                return;
            if (!old.host.sameAs(host))
                throw FileError(path, "is a survey of another host, " + old.host.name + " (" +
                                          old.host.processor + ")");
            survey = std::move(old);
        }
    }

    /// The last session, to go on with it.
    Session takeLast(const std::string& bootId) {
        Session last = std::move(survey.sessions.back());
        survey.sessions.pop_back();
        if (last.complete)
            throw FileError(path, "its last session is complete: there is nothing to go on with");
        if (last.bootId != bootId)
            throw FileError(path, "its last session was measured before the machine was restarted");
        return last;
    }

    void save(const Session& session) {
        if (path.empty())
            return;
        survey.sessions.push_back(session);
        writeSurvey(path, survey);
        survey.sessions.pop_back();
    }

    Survey survey;

  private:
    static std::string pathOf(const RunOrder& order) {
        for (const std::string& file : {order.output, order.append, order.resume})
            if (!file.empty())
                return file;
        return {};
    }
    std::string path;
};

/// What one program measured is not mixed with what another one measures.
void checkSameProgram(const Program& old, const std::string& path) {
    const Program own = thisProgram();
    const std::string measuredBy = "its last session was measured by ";
    if (old.width != own.width)
        throw FileError(path, measuredBy + "the " + std::to_string(old.width) + "-bit program");
    if (old.version != own.version || old.commit != own.commit)
        throw FileError(path, measuredBy + "version " + machine::printable(old.version) + " (" +
                                  machine::printable(old.commit) + "), this is " + own.version +
                                  " (" + own.commit + ")");
}

/// Goes on with a session only where it is the one that the command line would make, or what a
/// budget left of that.
void checkSamePlan(const Session& old, const std::vector<Point>& points, const std::string& path) {
    const auto wanted = std::span(points).first(std::min(old.points.size(), points.size()));
    const auto same = [](const Point& a, const Point& b) { return a.parameters == b.parameters; };
    if (!std::ranges::equal(old.points, wanted, same))
        throw FileError(path, "its last session has another plan: " + old.plan);
    if (wanted.size() < points.size())
        std::fprintf(stderr, "kestrel-survey: the session has the first %zu of %zu points\n",
                     wanted.size(), points.size());
}

Session sessionToGoOnWith(Output& output, const Session& wanted, const RunOrder& order) {
    Session last = output.takeLast(wanted.bootId);
    checkSameProgram(last.program, order.resume);
    checkSamePlan(last, wanted.points, order.resume);
    if (order.seed && *order.seed != last.seed)
        throw UsageError("--seed: the session was begun with " + std::to_string(last.seed));
    if (!order.label.empty() && wanted.label != last.label)
        throw UsageError("--label: the session was begun with '" + machine::printable(last.label) +
                         "'");
    last.rounds = order.rounds.value_or(last.rounds);
    return last;
}

void showDryRun(std::ostream& out, const Session& session, const Meter& meter,
                std::optional<double> budget) {
    const std::vector<double> seconds = expectedSeconds(session, meter);
    double sum = 0;
    for (std::size_t i = 0; i < seconds.size(); ++i) {
        const Point& point = session.points[i];
        out << point.plan << ": " << textOf(point.parameters)
            << (point.unsupported.empty() ? "" : ", unsupported: " + point.unsupported) << '\n';
        sum += seconds[i];
    }
    sum *= session.rounds;
    const double most = session.rounds < mostSamples ? sum * mostTime : sum;
    out << counted(session.points.size(), "point") << ", " << counted(session.rounds, "round")
        << ", about " << spanText(sum) << "; up to "
        << spanText(std::max(sum, std::min(most, budget.value_or(most))))
        << " where points are noisy\n";
}

bool canMeasureAny(std::span<const Point> points) {
    return std::ranges::any_of(points, [](const Point& it) { return it.unsupported.empty(); });
}

void sayIfFewer(unsigned rounds, unsigned wanted) {
    if (rounds < wanted)
        std::fprintf(stderr, "kestrel-survey: the budget allows %u of %u rounds\n", rounds, wanted);
}

/// Cuts the session to the budget and says what is left out.
void applyBudget(Session& session, const Meter& meter, std::optional<double> budget) {
    const Cut cut = cutTo(budget, session.rounds, expectedSeconds(session, meter));
    if (cut.points < session.points.size() &&
        !canMeasureAny(std::span(session.points).first(cut.points)))
        throw UsageError("--budget: too short for a sample of a single point");
    sayIfFewer(cut.rounds, session.rounds);
    if (cut.points < session.points.size())
        std::fprintf(stderr, "kestrel-survey: the budget allows %zu of %zu points\n", cut.points,
                     session.points.size());
    session.rounds = cut.rounds;
    session.points.resize(cut.points);
}

/// Seconds for the samples that the session lacks to have so many rounds.
double secondsLeft(const Session& session, const Meter& meter, unsigned rounds) {
    const std::vector<double> seconds = expectedSeconds(session, meter);
    double sum = 0;
    for (std::size_t i = 0; i < seconds.size(); ++i)
        if (const unsigned done = roundsDone(session.points[i]); done < rounds)
            sum += (rounds - done) * seconds[i];
    return sum;
}

/// Cuts a session that goes on: only its rounds, as its points have samples already.
void applyBudgetToRest(Session& session, const Meter& meter, double budget) {
    unsigned rounds = session.rounds;
    while (rounds > 0 && secondsLeft(session, meter, rounds) > budget)
        --rounds;
    if (rounds == session.rounds)
        return;
    if (secondsLeft(session, meter, rounds) == 0)
        throw UsageError("--budget: too short for a round of what is left");
    sayIfFewer(rounds, session.rounds);
    session.rounds = rounds;
}

void claimCpus(Claim& claim, const std::vector<PlannedPoint>& points) {
    std::vector<unsigned> cpus;
    for (const PlannedPoint& point : points)
        for (const auto* const list : {&point.parameters.cpus, &point.parameters.loadCpus})
            for (const unsigned cpu : *list)
                if (std::ranges::find(cpus, cpu) == cpus.end())
                    cpus.push_back(cpu);
    if (const auto taken = claim.takeCpus(cpus))
        throw std::runtime_error("another survey is measuring on CPU " + std::to_string(*taken));
}

bool measuredAnything(const Session& session) {
    return std::ranges::any_of(session.points, [](const Point& it) { return !it.samples.empty(); });
}

/// Collects and saves; false where the file could not be written, which is said.
bool collectAndSave(Session& session, Meter& meter, const RunOrder& order, Output& output) {
    Progress progress(order.progressLines);
    const Listener listener{.sampling =
                                [&](const Point& point, std::size_t done, std::size_t all,
                                    double left, std::size_t noisy) {
                                    progress.show(textOf(point.parameters), done, all, left, noisy);
                                },
                            .roundEnded = [&](const Session& so) { output.save(so); },
                            .stop = [] { return endedBy != 0; }};
    try {
        const unsigned rounds = session.rounds;
        session.complete = collect(session, meter, order.budgetSeconds, listener);
        progress.clear();
        sayIfFewer(session.rounds, rounds);
        judge(session);
        session.ended = utcNow();
        output.save(session);
        return true;
    } catch (const FileError& failure) {
        progress.clear();
        judge(session);
        std::fprintf(stderr, "kestrel-survey: %s\n", failure.what());
        return false;
    }
}

}  // namespace

int run(const RunOrder& order, std::ostream& out) {
    catchSignals();
    const Ground ground = groundOf(machine::gatherFacts());
    const std::vector<PlannedPoint> planned = pointsOf(order.plan, ground, order.choices);
    checkPlaces(planned, ground);
    checkMemory(planned, ground);
    Session session = newSession(order, ground);
    session.points = pointsFor(planned, ground);
    if (session.counterHz == 0)
        throw std::runtime_error("the rate of the time-stamp counter cannot be measured");
    if (order.dryRun) {
        const Meter meter(ground, session.counterHz, order.times);
        applyBudget(session, meter, order.budgetSeconds);
        showDryRun(out, session, meter, order.budgetSeconds);
        return 0;
    }
    Claim claim;
    claimCpus(claim, planned);
    Output output(order, hostOf(ground.facts, order.hostName), claim);
    if (!order.resume.empty())
        session = sessionToGoOnWith(output, session, order);
    Meter meter(ground, session.counterHz, order.times);
    if (order.resume.empty())
        applyBudget(session, meter, order.budgetSeconds);
    else if (order.budgetSeconds)
        applyBudgetToRest(session, meter, *order.budgetSeconds);
    const auto limits = processor::limitsOf(processor::readSignature());
    for (Point& point : session.points)
        point.limitPerCycle = limitPerCycle(point.parameters, limits);
    output.save(session);  // a file that cannot be written is found out now

    const bool saved = collectAndSave(session, meter, order, output);
    show(out, output.survey, session);
    if (endedBy != 0)
        return 128 + endedBy;
    if (!saved)
        return 3;
    if (!measuredAnything(session)) {
        std::fputs("kestrel-survey: nothing could be measured\n", stderr);
        return 3;
    }
    return 0;
}

}  // namespace survey
