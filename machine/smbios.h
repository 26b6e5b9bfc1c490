/// The firmware's table of memory modules: SMBIOS (DSP0134), structures of type 17.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace machine {

/// The modules that are plugged in.
struct MemoryModules {
    unsigned count;
    /// At the speed that the firmware set, of the slowest that tells one: transfers a second, twice
    /// the clock of DDR memory.
    std::optional<std::uint64_t> transfersPerSecond;
};

/// Decodes the structure table. Nothing where it holds no module; what is cut off is left out.
std::optional<MemoryModules> decodeSmbios(std::string_view table);

}  // namespace machine
