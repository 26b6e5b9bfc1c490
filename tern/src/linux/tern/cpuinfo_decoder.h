/// Decoding the text of /proc/cpuinfo, line by line, into signature and topology.
#pragma once

#include <span>
#include <string_view>

#include "tern/cpu_info.h"

namespace tern {

class cpuinfo_decoder {
  public:
    /// `topology` has an entry for each CPU online, all zero; both outputs must outlive the
    /// decoder.
    cpuinfo_decoder(tern_cpu_signature& signature, std::span<tern_cpu_topology> topology)
        : signature_(signature), topology_(topology) {}

    /// Takes the next line. False when the text cannot be this machine's: a line before the first
    /// processor's, or one after the first line of a processor too many. Nothing more may be taken
    /// then.
    bool take_line(std::string_view line);

    /// After the last line: numbers the hardware threads, if the text tells of any, and the
    /// packages.
    void finish();

  private:
    tern_cpu_signature& signature_;
    std::span<tern_cpu_topology> topology_;
    std::size_t processors_ = 0;  ///< processor lines so far
    std::int32_t siblings_ = 0;
};

/// Numbers the CPUs of each core 0, 1, ... in the order of the entries.
void number_threads(std::span<tern_cpu_topology> topology);

/// Renumbers two or more different packages 0 to k-1 in the order of their ids.
void compact_packages(std::span<tern_cpu_topology> topology);

/// The frequency in hertz of a "cpu MHz" line; nothing for another line or one without a number.
/// Not positive, or beyond 64 bits: 0.
bool cpuinfo_line_frequency(std::string_view line, std::uint64_t& hertz);

}  // namespace tern
