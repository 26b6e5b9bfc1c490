/// Reading the evidence beside a sample from the kernel's counters, without any rights.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "machine/facts.h"
#include "survey/evidence.h"
#include "survey/run/cpu_times.h"

namespace survey {

/// Whose disturbance is looked for.
struct Watched {
    std::vector<unsigned> cpus;           ///< of the workers that are measured
    std::vector<long> threads;            ///< the kernel's ids of these workers
    std::vector<unsigned> busyOnPurpose;  ///< CPUs of workers that are there to disturb
};

/// The time from its construction to its end. Both read some files of /proc and /sys, a millisecond
/// or so each, and so are best made while passes do not count.
class EvidenceSpan {
  public:
    EvidenceSpan(const machine::Facts& facts, Watched given);
    [[nodiscard]] Evidence end() const;

  private:
    /// Counters as of one moment; what could not be read is missing.
    struct Reading {
        std::int64_t nanoseconds = 0;
        std::map<long, std::uint64_t> waited;  ///< nanoseconds, by thread
        std::map<long, std::uint64_t> switches, faults;
        std::map<unsigned, CpuTime> cpus;
        std::optional<std::uint64_t> throttled, cpuPressure, memoryPressure;  ///< microseconds
        std::optional<std::uint64_t> heatThrottles;
    };
    void readMachine(Reading& reading) const;
    void readThreads(Reading& reading) const;
    static void readThread(long thread, Reading& reading);
    void addCpuTimes(const Reading& after, double sharePerTick, Evidence& evidence) const;

    Watched watched;
    std::vector<unsigned> siblings;   ///< other CPUs of the workers' cores
    std::vector<std::string> groups;  ///< folders of the control groups that limit CPU time
    Reading before;
};

}  // namespace survey
