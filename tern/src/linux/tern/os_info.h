/// What the public operating-system operations read, with the kernel's answer and the files as
/// parameters.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "tern/os_info.h"
#include "tern/src/linux/processor/cpuid_leaf.h"

namespace tern {

/// The distributions' own files first, the ones that several share last.
inline constexpr auto release_files = std::to_array<const char*>({
    "/etc/os-release",
    "/etc/mandrake-release",
    "/etc/SuSE-release",
    "/etc/yellowdog-release",
    "/etc/turbolinux-release",
    "/etc/redhat-release",
    "/etc/slackware-version",
    "/etc/gentoo-release",
    "/etc/moblin-release",
    "/etc/meego-release",
    "/etc/wrs-release",
    "/etc/lsb-release",
    "/etc/debian_version",
    "/etc/system-release",
    "/etc/issue",
});

/// A null `release` is a uname that failed. Ends the process as tern_get_os_name does.
char* make_os_name(const char* release, std::span<const char* const> files,
                   tern_allocator* allocator);

/// How many of the four numbers "major.minor.patch-build" a kernel release begins with; the rest of
/// them stay.
int decode_kernel_release(std::string_view release, const std::array<std::uint16_t*, 4>& numbers);

/// 13 bytes, or null.
char* make_hypervisor_name(cpuid_instruction cpuid, const char* type_path,
                           tern_allocator* allocator);

}  // namespace tern
