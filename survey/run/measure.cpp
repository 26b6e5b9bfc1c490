#include "survey/run/measure.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <numeric>
#include <optional>

#include "crew.h"
#include "processor/core_clock.h"
#include "processor/core_sharing.h"
#include "survey/clock_text.h"
#include "survey/run/evidence_span.h"
#include "survey/run/survey_pattern.h"
#include "survey/verdict.h"
#include "worker_impl/pin.h"

namespace survey {
namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return duration<double>(Clock::now() - start).count();
}

/// Not resumed when a signal interrupts it.
void sleepFor(milliseconds time) {
    const timespec span{.tv_sec = static_cast<time_t>(time.count() / 1000),
                        .tv_nsec = static_cast<long>(time.count() % 1000 * 1000000)};
    nanosleep(&span, nullptr);
}

/// Crews with nothing but this in common: what runs on them, on which CPUs, with which memory.
struct Team {
    std::unique_ptr<WarmedPattern> pattern;
    std::unique_ptr<Kestrel::Crew> crew;
    std::string failure;

    explicit Team(const Parameters& parameters) : pattern(makePattern(parameters)) {
        unsigned long nodes = 0;
        for (const unsigned node : parameters.nodes.value_or(machine::NumberList{}))
            nodes |= 1ul << node;
        crew = std::make_unique<Kestrel::Crew>(
            Kestrel::CrewOrder{.pattern = pattern.get(),
                               .cpus = parameters.cpus,
                               .arraySize = arraySizeOf(parameters),
                               .sharedArray = rowOf(parameters).sharesArray(),
                               .nodes = nodes != 0 ? nodes : 1,
                               .pages = parameters.pages.value_or(Kestrel::pkSystem)});
        failure = reasonOf(crew->assemble(), parameters);
    }

    [[nodiscard]] std::vector<long> threads() const {
        std::vector<long> ids;
        for (std::size_t i = 0; i < crew->size(); ++i)
            ids.push_back(crew->threadId(i));
        return ids;
    }

  private:
    static std::string reasonOf(const Kestrel::CrewFailure& failure, const Parameters& parameters) {
        const std::string cpu = failure.worker < parameters.cpus.size()
                                    ? std::to_string(parameters.cpus[failure.worker])
                                    : "?";
        switch (failure.cause) {
            case Kestrel::CrewFailure::none:
                return {};
            case Kestrel::CrewFailure::noArray:
                if (failure.errorBehind == Kestrel::Array::aeBindFailed)
                    return "memory cannot be placed on nodes " +
                           machine::listText(parameters.nodes.value_or(machine::NumberList{}));
                if (parameters.pages.value_or(Kestrel::pkSystem) >= Kestrel::pk2M)
                    return "too few free huge pages of " + std::string(nameOf(*parameters.pages));
                return "no memory for the array";
            case Kestrel::CrewFailure::noWorker:
                return "no worker on CPU " + cpu;
            default:
                return "kestrel cannot do this on CPU " + cpu;
        }
    }
};

/// What keeps memory busy beside a point: reads of arrays as large as the point's own.
std::optional<Team> loadBeside(const Parameters& parameters) {
    if (parameters.loadCpus.empty())
        return std::nullopt;
    Parameters load = parameters;
    load.pattern = "a-l";
    load.cpus = parameters.loadCpus;
    load.wordBytes = load.strideBytes = 64;
    load.loadCpus.clear();
    return Team(load);
}

double workOf(Unit unit, const Kestrel::WorkerResult& result) {
    constexpr double bytesOfALoad = 8;  // as kestrel accounts a node
    switch (unit) {
        case Unit::secondsPerLoad:
            return static_cast<double>(result.bytes) / bytesOfALoad;
        case Unit::secondsPerAccess:
            return static_cast<double>(result.iterations);
        default:
            return static_cast<double>(result.bytes);
    }
}

std::vector<WorkerWork> endAll(Team& team, Unit unit, std::uint64_t& arrayBytes) {
    std::vector<WorkerWork> works;
    for (std::size_t i = 0; i < team.crew->size(); ++i) {
        const Kestrel::WorkerReport report = team.crew->end(i);
        arrayBytes = std::max<std::uint64_t>(arrayBytes, report.arrayBytes);
        works.push_back({.cpu = report.cpu,
                         .work = workOf(unit, report.result),
                         .ticks = report.result.clocks,
                         .passes = report.result.iterations / team.pattern->iterationsPerPass()});
    }
    return works;
}

/// What the calling thread finds out about the cores of a point's CPUs, by running on each. Of many
/// the first few tell enough.
struct CoreReadings {
    std::optional<double> additions, clock;  ///< the worst of all; cycles for each tick
    double highestClock = 0;                 ///< 0: none could be read

    explicit CoreReadings(const std::vector<unsigned>& cpus) {
        constexpr std::size_t most = 8;
        constexpr int enough = 9;  // a single one may be interrupted, and then be anything
        for (std::size_t i = 0; i < std::min(cpus.size(), most); ++i) {
            if (!Kestrel::pinThread(cpus[i]))
                continue;
            processor::CoreClock readings;
            for (int reading = 0; reading < enough; ++reading)
                readings.read();
            takeLower(clock, readings.cyclesPerTick());
            highestClock = std::max(highestClock, readings.cyclesPerTick());
            takeLower(additions, processor::additionsPerCycle());
        }
    }

  private:
    static void takeLower(std::optional<double>& lowest, double value) {
        if (value != 0)
            lowest = std::min(lowest.value_or(value), value);
    }
};

void addPlacement(const Team& team, const Parameters& parameters, Evidence& evidence) {
    if (!parameters.nodes)
        return;
    unsigned long nodes = 0;
    for (const unsigned node : *parameters.nodes)
        nodes |= 1ul << node;
    const Kestrel::Placement placement = team.crew->placement();
    const std::size_t present = placement.total() - placement.absent;
    if (present != 0)
        evidence["pages_elsewhere_share"] =
            static_cast<double>(placement.elsewhere(nodes)) / static_cast<double>(present);
}

/// Caches beyond the first level pick a line's place by its physical address. An array of small
/// pages that fills half of one or more loses lines or not, depending on which pages the kernel
/// gave it: on a 2 MiB cache 1.5 MiB varied by 14 % from mapping to mapping, and by 0.3 % on one
/// mapping.
void addCacheEdge(const machine::Facts& facts, const Parameters& parameters, Evidence& evidence) {
    const auto pages = parameters.pages.value_or(Kestrel::pkSystem);
    if (!parameters.sizeBytes || pages == Kestrel::pk2M || pages == Kestrel::pk1G)
        return;
    bool edge = false;
    for (const machine::Cache& cache : facts.caches) {
        const bool ofThisCpu =
            cache.cpus.empty() || machine::contains(cache.cpus, parameters.cpus.front());
        if (ofThisCpu && cache.level > 1 && cache.type != machine::CacheType::instruction &&
            cache.bytes)
            edge |= *parameters.sizeBytes >= *cache.bytes / 2 &&
                    *parameters.sizeBytes <= *cache.bytes * 2;
    }
    evidence["cache_edge"] = edge ? 1 : 0;
}

/// A guess at the seconds that a pass of random loads takes: it makes the same number of them in
/// any array, and they take longer only until the array is beyond the caches.
double randomPass(double bytes) {
    constexpr double fromMemory = 0.03, beyondCaches = 1 << 24;
    return fromMemory * std::min(1.0, bytes / beyondCaches);
}

Parameters withoutSize(Parameters parameters) {
    parameters.sizeBytes.reset();
    return parameters;
}

}  // namespace

double valueOf(Unit unit, const std::vector<WorkerWork>& workers, double counterHz) {
    const bool rate = textOf(unit).higherIsBetter;
    double sum = 0;
    for (const WorkerWork& worker : workers) {
        if (worker.work == 0 || worker.ticks == 0)
            return 0;
        const double seconds = static_cast<double>(worker.ticks) / counterHz;
        sum += rate ? worker.work / seconds : seconds / worker.work;
    }
    return rate || workers.empty() ? sum : sum / static_cast<double>(workers.size());
}

Meter::Meter(const Ground& ground, double counterHz, SampleTimes times)
    : ground(ground), counterHz(counterHz), times(times) {}

Meter::Known Meter::expected(const Parameters& parameters) const {
    if (const auto found = known.find(parameters); found != known.end())
        return found->second;
    // Before the first sample, rather too long than too short: by what it is with other sizes, and
    // by what slow memory gives a CPU that is alone or one of many.
    constexpr double alone = 8e9, amongOthers = 4e9, preparedPerSecond = 1.5e9;
    constexpr double shortPass = 0.005, evidence = 0.006, aWorker = 0.00075;
    const std::size_t workers = parameters.cpus.size() + parameters.loadCpus.size();
    const auto bytes = static_cast<double>(parameters.sizeBytes.value_or(0));
    const auto other = largest.find(withoutSize(parameters));
    const double aByte = other != largest.end() ? other->second.secondsPerByte
                                                : 1 / (workers > 1 ? amongOthers : alone);
    const double pass = parameters.pattern == "l-r" ? randomPass(bytes) : bytes * aByte;
    return {.passSeconds = std::max(shortPass, pass),
            .otherSeconds =
                evidence + static_cast<double>(workers) * (aWorker + bytes / preparedPerSecond)};
}

milliseconds Meter::measuredFor(const Known& expected) const {
    // The pass under way when counting begins does not count, and passes may get slower.
    constexpr double inReserve = 2;
    const double passes = static_cast<double>(fewestPasses) + inReserve;
    return std::max(times.measured,
                    milliseconds(std::lround(std::ceil(passes * expected.passSeconds * 1e3))));
}

double Meter::expectedSeconds(const Parameters& parameters) const {
    const Known about = expected(parameters);
    const auto phases = times.warmUp + measuredFor(about) + times.coolDown;
    return duration<double>(phases).count() + about.otherSeconds;
}

void Meter::learn(const Parameters& parameters, const std::vector<WorkerWork>& workers,
                  double otherSeconds) {
    double slowest = 0;
    for (const WorkerWork& worker : workers)
        if (worker.passes != 0)
            slowest = std::max(slowest, static_cast<double>(worker.ticks) / counterHz /
                                            static_cast<double>(worker.passes));
    if (slowest == 0)
        return;
    known[parameters] = {slowest, otherSeconds};
    constexpr std::uint64_t large = 1 << 23;  // smaller arrays say little of memory
    const std::uint64_t bytes = parameters.sizeBytes.value_or(0);
    if (bytes < large)
        return;
    Large& most = largest[withoutSize(parameters)];
    if (bytes >= most.bytes)
        most = {bytes, slowest / static_cast<double>(bytes)};
}

void Meter::moveAwayFrom(const Parameters& parameters) const {
    cpu_set_t set;
    CPU_ZERO(&set);
    const auto inUse = [&](unsigned cpu) {
        return std::ranges::find(parameters.cpus, cpu) != parameters.cpus.end() ||
               std::ranges::find(parameters.loadCpus, cpu) != parameters.loadCpus.end();
    };
    bool any = false;
    for (const unsigned cpu : ground.cpus)
        if (cpu < CPU_SETSIZE && !inUse(cpu)) {
            CPU_SET(cpu, &set);
            any = true;
        }
    for (const unsigned cpu : ground.cpus)
        if (!any && cpu < CPU_SETSIZE)
            CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof set, &set);
}

std::variant<Sample, NoSample> Meter::takeOnce(const Parameters& parameters,
                                               const std::function<bool()>& stop) {
    const auto began = Clock::now();
    const Unit unit = unitOf(parameters);
    const milliseconds measured = measuredFor(expected(parameters));
    const auto phase = [&stop](milliseconds time) {
        if (!stop())
            sleepFor(time);
    };
    Sample sample;
    sample.detail.started = utcNow();
    const CoreReadings coresBefore(parameters.cpus);
    moveAwayFrom(parameters);

    std::optional<Team> load = loadBeside(parameters);
    Team team(parameters);
    if (load && !load->failure.empty())
        return NoSample{load->failure};
    if (!team.failure.empty())
        return NoSample{team.failure};
    addPlacement(team, parameters, sample.detail.evidence);
    addCacheEdge(ground.facts, parameters, sample.detail.evidence);

    std::vector<Kestrel::Crew*> crews{team.crew.get()};
    if (load)
        crews.push_back(load->crew.get());
    const auto all = [&](void (Kestrel::Crew::*step)()) {
        for (Kestrel::Crew* const crew : crews)
            (crew->*step)();
    };
    all(&Kestrel::Crew::start);
    phase(times.warmUp);
    const EvidenceSpan span(ground.facts, {parameters.cpus, team.threads(), parameters.loadCpus});
    all(&Kestrel::Crew::count);
    phase(measured);
    all(&Kestrel::Crew::stopCounting);
    sample.detail.evidence.merge(span.end());
    phase(times.coolDown);
    all(&Kestrel::Crew::finish);
    sample.detail.workers = endAll(team, unit, sample.arrayBytes);
    if (stop())
        return NoSample{"stopped"};
    if (team.pattern->didNothing())
        return NoSample{"nothing counts: kestrel or this processor cannot do it"};
    const CoreReadings coresAfter(parameters.cpus);
    if (load) {
        std::uint64_t unused = 0;
        sample.detail.loadBytesPerSecond =
            valueOf(Unit::bytesPerSecond, endAll(*load, Unit::bytesPerSecond, unused), counterHz);
    }

    if (coresAfter.clock) {
        sample.detail.clockHz = *coresAfter.clock * counterHz;
        sample.detail.evidence["clock_hz"] = *sample.detail.clockHz;
        if (coresBefore.clock)
            sample.detail.evidence["clock_change_share"] =
                std::abs(*coresAfter.clock / *coresBefore.clock - 1);
    }
    sample.highestClockHz = std::max(coresBefore.highestClock, coresAfter.highestClock) * counterHz;
    if (coresBefore.additions && coresAfter.additions)
        sample.detail.evidence["additions_per_cycle"] =
            std::min(*coresBefore.additions, *coresAfter.additions);
    sample.value = valueOf(unit, sample.detail.workers, counterHz);
    const duration<double> slept = times.warmUp + measured + times.coolDown;
    learn(parameters, sample.detail.workers, secondsSince(began) - slept.count());
    return sample;
}

std::variant<Sample, NoSample> Meter::take(const Parameters& parameters,
                                           const std::function<bool()>& stop) {
    // What a pass takes is known after the first; and a short sample in which nothing counted may
    // have been that of a busy CPU.
    constexpr int tries = 3;
    auto taken = takeOnce(parameters, stop);
    for (int i = 1; i < tries; ++i) {
        const auto* const sample = std::get_if<Sample>(&taken);
        if (sample == nullptr || sample->detail.fewestPasses() >= fewestPasses)
            break;
        taken = takeOnce(parameters, stop);
    }
    return taken;
}

}  // namespace survey
