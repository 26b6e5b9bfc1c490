#include "report.h"

#include <sstream>

namespace Kestrel {
namespace {

constexpr double mega = 1e6, giga = 1e9;

/// "cpuidx(i)=c", and fixed notation from there on.
std::stringstream startLine(const WorkerResult& result, unsigned cpu) {
    std::stringstream line;
    line << "cpuidx(" << result.workerIndex << ")=" << cpu << std::fixed;
    return line;
}

std::uint32_t shownIterations(const WorkerResult& result) {
    return static_cast<std::uint32_t>(result.iterations);
}

}  // namespace

double accessTime(const WorkerResult& result, std::uint32_t size) {
    if (result.clocks == 0)
        return 0;
    // A product of 0 makes the quotient infinite, and is shown so.
    return static_cast<double>(result.clocks) / static_cast<double>(result.iterations * size);
}

double bandwidth(const WorkerResult& result) {
    if (result.clocks == 0)
        return 0;
    return static_cast<double>(result.bytes) / static_cast<double>(result.clocks) *
           static_cast<double>(result.frequency);
}

std::string accessTimeLine(const WorkerResult& result, unsigned cpu, std::uint32_t size) {
    std::stringstream line = startLine(result, cpu);
    line << " freq(Hz)=" << static_cast<double>(result.frequency)
         << " iters=" << shownIterations(result) << " clocks=" << accessTime(result, size);
    return line.str();
}

std::string bandwidthLine(const WorkerResult& result, unsigned cpu, std::uint32_t arraySize) {
    std::stringstream line = startLine(result, cpu);
    line << " freq(MHz)=" << static_cast<double>(result.frequency) / mega
         << " iters=" << shownIterations(result) << " size(MB)=" << arraySize / mega
         << " BW(GB/s)=" << bandwidth(result) / giga;
    return line.str();
}

std::string totalLine(double total) {
    std::stringstream line;
    line << "Total BW(GB/s)=" << total / giga;
    return line.str();
}

}  // namespace Kestrel
