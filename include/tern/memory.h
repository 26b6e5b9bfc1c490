/// Anonymous memory mappings. Sizes are in bytes. Thread-safe as the calls they wrap.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Maps `size` bytes of private anonymous memory, readable, writable and zeroed, where the kernel
/// chooses. Returns null when it cannot. The caller owns it until tern_munmap.
void* tern_mmap(std::size_t size);

/// Returns 0; a range that the kernel refuses ends the process with a report.
int tern_munmap(void* address, std::size_t size);

/// `protection` is mprotect's PROT_ bits. Returns 1 on success, else 0.
int tern_mprotect(void* address, std::size_t size, int protection);

/// Moves a mapping to a new one of another size: the contents that fit are copied, the rest is
/// zero, the old mapping is gone. A null `old_address` only maps. Returns the new address; null,
/// with the old mapping untouched, when it cannot be mapped; the old address, nothing done, when
/// `new_size` is 0.
void* tern_remap(void* old_address, std::size_t old_size, std::size_t new_size);

/// Returns the page size in bytes: the one that tern_init_system_info cached, else sysconf's.
std::int64_t tern_get_page_size();

}  // extern "C"
