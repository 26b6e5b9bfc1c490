#include "tern/src/linux/processor/brand_text.h"

#include <cstring>

#include "tern/src/tern/text_scan.h"

namespace tern {

bool read_brand_text(cpuid_instruction cpuid, char* text) {
    if (read_leaf(cpuid, 0x80000000).eax < 0x80000004)
        return false;
    for (std::uint32_t part = 0; part < 3; ++part) {
        const tern_cpuid_block leaf = read_leaf(cpuid, 0x80000002 + part);
        static_assert(sizeof leaf == 16);
        std::memcpy(text + part * sizeof leaf, &leaf, sizeof leaf);
    }
    return true;
}

std::uint64_t brand_frequency(std::string_view text) {
    const std::size_t last_space = text.rfind(' ');
    if (last_space == std::string_view::npos)
        return 0;
    text.remove_prefix(last_space);
    const auto whole = take_i32(text);
    if (!whole || !take(text, "."))
        return 0;
    const auto hundredths = take_i32(text);
    if (!hundredths || text.empty())
        return 0;
    const std::int64_t amount = std::int64_t{*whole} * 100 + *hundredths;
    if (amount < 0 || amount > INT32_MAX)  // no processor's; and the product below would not fit
        return 0;
    const char unit = text.front();
    const std::uint64_t scale = unit == 'G' ? 1'000'000'000 : unit == 'M' ? 1'000'000 : 1;
    return static_cast<std::uint64_t>(amount) * scale / 100;
}

}  // namespace tern

int tern_cpuid_brand_string(char* buffer) {
    return tern::read_brand_text(tern_cpuid, buffer);
}
