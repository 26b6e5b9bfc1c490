#include "machine/smbios.h"

#include <algorithm>

namespace machine {

namespace {

/// A little-endian number of a structure; 0, which stands for "not told", where the structure ends
/// before it (older firmware writes shorter ones).
std::uint64_t field(std::string_view structure, std::size_t offset, std::size_t bytes) {
    std::uint64_t value = 0;
    if (offset + bytes > structure.size())
        return 0;
    for (std::size_t i = bytes; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(structure[offset + i]);
    return value;
}

/// Configured memory speed in MT/s: a word at 0x20, whose largest value refers to one at 0x58.
std::uint64_t configuredSpeed(std::string_view structure) {
    const std::uint64_t speed = field(structure, 0x20, 2);
    return speed == 0xFFFF ? field(structure, 0x58, 4) & 0x7FFFFFFF : speed;
}

}  // namespace

std::optional<MemoryModules> decodeSmbios(std::string_view table) {
    constexpr std::uint64_t memoryDevice = 17;
    MemoryModules modules{.count = 0, .transfersPerSecond = {}};
    while (table.size() >= 4) {
        // A structure: type, length of its fields, handle, fields; then texts up to two zeros.
        const std::uint64_t length = field(table, 1, 1);
        if (length > table.size())
            break;
        const std::string_view structure = table.substr(0, length);
        constexpr std::size_t size = 0x0C;  // 0: an empty socket
        if (field(structure, 0, 1) == memoryDevice && field(structure, size, 2) != 0) {
            ++modules.count;
            const std::uint64_t speed = configuredSpeed(structure) * 1'000'000;
            if (speed != 0)
                modules.transfersPerSecond =
                    std::min(speed, modules.transfersPerSecond.value_or(speed));
        }
        const std::size_t end = table.find(std::string_view("\0\0", 2), length);
        if (end == std::string_view::npos)
            break;
        table.remove_prefix(end + 2);
    }
    return modules.count != 0 ? std::optional(modules) : std::nullopt;
}

}  // namespace machine
