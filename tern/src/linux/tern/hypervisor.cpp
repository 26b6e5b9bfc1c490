#include <cstring>

#include "tern/environment.h"
#include "tern/files.h"
#include "tern/line_reader.h"
#include "tern/src/linux/tern/os_info.h"

namespace {

constexpr std::uint32_t name_bytes = 13;

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
    tern_line_reader_init(&state, fd, name, name_bytes);
    const bool found = tern_read_line(&state) != 0;
    tern_close(fd);
    return found;
}

}  // namespace

char* tern::make_hypervisor_name(cpuid_instruction cpuid, const char* type_path,
                                 tern_allocator* allocator) {
    auto* name = static_cast<char*>(allocator->allocate_block(allocator, name_bytes));
    if (name && !read_vendor_text(cpuid, name) && !read_type_file(type_path, name))
        tern_strcpy_bounded("None", name, name_bytes);
    return name;
}

char* tern_get_hypervisor_name(tern_allocator* allocator) {
    return tern::make_hypervisor_name(tern_cpuid, "/sys/hypervisor/type", allocator);
}
