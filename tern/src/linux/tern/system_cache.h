/// What tern_init_system_info remembers for the life of the process.
#pragma once

#include <atomic>
#include <cstdint>

namespace tern {

inline std::atomic<std::int32_t> cached_cpu_count{0};   ///< 0: not set
inline std::atomic<std::int64_t> cached_page_size{-1};  ///< -1: not set

}  // namespace tern
