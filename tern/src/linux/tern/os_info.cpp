#include "tern/src/linux/tern/os_info.h"

#include <sys/utsname.h>

#include <cstring>

#include "tern/environment.h"
#include "tern/files.h"
#include "tern/line_reader.h"
#include "tern/src/tern/check.h"
#include "tern/src/tern/text_scan.h"

namespace {

constexpr std::size_t most_file_bytes = 4096;

/// Reads the start of the first file that has any bytes; returns how many, 0 if there is none.
std::size_t read_first_file(std::span<const char* const> files, char* bytes) {
    for (const char* path : files) {
        const int fd = tern_open_read(path);
        if (fd == -1)
            continue;
        const ssize_t count = tern_read(fd, bytes, most_file_bytes);
        tern_close(fd);
        if (count > 0)
            return static_cast<std::size_t>(count);
    }
    return 0;
}

constexpr std::uint32_t hypervisor_bytes = 13;

/// The vendor text that a hypervisor announces through CPUID.
bool read_vendor_text(tern::cpuid_instruction cpuid, char* name) {
    constexpr std::uint32_t hypervisor_present = 1u << 31;  // leaf 1, ECX
    if ((tern::read_leaf(cpuid, 1).ecx & hypervisor_present) == 0)
        return false;
    const tern_cpuid_block leaf = tern::read_leaf(cpuid, 0x40000000);
    std::memcpy(name, &leaf.ebx, 4);
    std::memcpy(name + 4, &leaf.ecx, 4);
    std::memcpy(name + 8, &leaf.edx, 4);
    name[12] = '\0';
    return true;
}

/// The kernel's word for a hypervisor that CPUID does not show, as under paravirtualisation.
bool read_type_file(const char* path, char* name) {
    const int fd = tern_open_read(path);
    if (fd == -1)
        return false;
    tern_line_state state;
    tern_line_reader_init(&state, fd, name, hypervisor_bytes);
    const bool found = tern_read_line(&state) != 0;
    tern_close(fd);
    return found;
}

}  // namespace

char* tern::make_os_name(const char* release, std::span<const char* const> files,
                         tern_allocator* allocator) {
    const std::string_view kernel = release ? release : "";
    const std::size_t bytes = kernel.size() + most_file_bytes + 1;
    auto* const name = static_cast<char*>(allocator->allocate_block(allocator, bytes));
    check(name != nullptr, "release", "tern_get_os_name", linux_half);
    std::memset(name, 0, bytes);

    char* system = name;
    if (!kernel.empty()) {
        system += kernel.copy(name, kernel.size());
        *system++ = ' ';
    }
    const std::size_t count = read_first_file(files, system);
    if (count == 0)
        tern_strcpy_bounded("Unix/Linux", system, most_file_bytes);
    else if (system[count - 1] == '\n')
        system[count - 1] = '\0';
    system[most_file_bytes - 1] = '\0';
    return name;
}

int tern::decode_kernel_release(std::string_view release,
                                const std::array<std::uint16_t*, 4>& numbers) {
    constexpr std::array<std::string_view, 4> separators{"", ".", ".", "-"};
    int count = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i, ++count) {
        if (!take(release, separators[i]))
            break;
        const auto number = take_u32(release);
        if (!number)
            break;
        *numbers[i] = static_cast<std::uint16_t>(*number);
    }
    return count;
}

char* tern::make_hypervisor_name(cpuid_instruction cpuid, const char* type_path,
                                 tern_allocator* allocator) {
    auto* name = static_cast<char*>(allocator->allocate_block(allocator, hypervisor_bytes));
    if (name && !read_vendor_text(cpuid, name) && !read_type_file(type_path, name))
        tern_strcpy_bounded("None", name, hypervisor_bytes);
    return name;
}

char* tern_get_os_name(tern_allocator* allocator) {
    utsname kernel{};
    const char* release = uname(&kernel) == 0 ? kernel.release : nullptr;
    return tern::make_os_name(release, tern::release_files, allocator);
}

int tern_get_os_version(std::uint16_t* major, std::uint16_t* minor, std::uint16_t* patch,
                        std::uint16_t* build) {
    *major = *minor = *patch = *build = 0;
    utsname kernel{};
    const int status = uname(&kernel);
    if (status != 0)
        return status;
    return tern::decode_kernel_release(kernel.release, {major, minor, patch, build});
}

char* tern_get_hypervisor_name(tern_allocator* allocator) {
    return tern::make_hypervisor_name(tern_cpuid, "/sys/hypervisor/type", allocator);
}
