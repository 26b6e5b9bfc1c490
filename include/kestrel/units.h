/// Sizes of memory, in bytes.
#pragma once

#include <cstdint>

namespace Kestrel {

inline constexpr std::uint32_t kibibyte = 1024;
inline constexpr std::uint32_t mebibyte = 1024 * kibibyte;
inline constexpr std::uint32_t gibibyte = 1024 * mebibyte;

}  // namespace Kestrel
