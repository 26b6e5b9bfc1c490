/// The operating system and the hypervisor, as texts for a report about the machine.
/// Any thread may call these. The texts come from the allocator's allocate_block and belong to the
/// caller.
#pragma once

#include <cstdint>

#include "tern/allocator.h"

extern "C" {

/// Returns the kernel release, a space, and up to 4095 bytes of the first distribution release file
/// of /etc that can be read, less a final line feed ("Unix/Linux" where there is none). The file's
/// inner line feeds stay. Where uname fails the text begins with the file's.
/// A failed allocation ends the process with a report.
char* tern_get_os_name(tern_allocator* allocator);

/// Stores the numbers at the start of the kernel release, as in 5.15.0-91: their low 16 bits (a
/// number beyond 32 bits counts as the largest of 32 bits), 0 for those that it lacks. Returns how
/// many there are, 0 to 4; -1, all zero, where uname fails.
int tern_get_os_version(std::uint16_t* major, std::uint16_t* minor, std::uint16_t* patch,
                        std::uint16_t* build);

/// Returns a zero-terminated text of at most 12 characters: the vendor text of CPUID leaf
/// 0x40000000 (EBX, ECX, EDX) where leaf 1 ECX bit 31 announces a hypervisor, else the first line
/// of /sys/hypervisor/type, else "None". Null when the allocation fails.
char* tern_get_hypervisor_name(tern_allocator* allocator);

}  // extern "C"
