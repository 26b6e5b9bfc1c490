/// The lines of the result, as functions of the figures.
#pragma once

#include <cstdint>
#include <string>

#include "kestrel/worker_result.h"

namespace Kestrel {

/// Ticks for one access of a share pattern, whose iterations each stand for `size` operations; 0
/// when nothing was counted.
double accessTime(const WorkerResult& result, std::uint32_t size);

/// Bytes (or operations) a second; 0 when nothing was counted.
double bandwidth(const WorkerResult& result);

/// "cpuidx(i)=c freq(Hz)=F iters=n clocks=A"; n is the low 32 bits of the count.
std::string accessTimeLine(const WorkerResult& result, unsigned cpu, std::uint32_t size);

/// "cpuidx(i)=c freq(MHz)=F iters=n size(MB)=M BW(GB/s)=W"; sizes in bytes, decimal units.
std::string bandwidthLine(const WorkerResult& result, unsigned cpu, std::uint32_t arraySize);

/// "Total BW(GB/s)=T", from bytes a second.
std::string totalLine(double total);

}  // namespace Kestrel
