#include "tern/memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "tern/src/linux/tern/system_cache.h"
#include "tern/src/tern/check.h"

void* tern_mmap(std::size_t size) {
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return address == MAP_FAILED ? nullptr : address;
}

int tern_munmap(void* address, std::size_t size) {
    const int result = munmap(address, size);
    tern::check(result == 0, "result == 0", "tern_munmap", tern::linux_half);
    return result;
}

int tern_mprotect(void* address, std::size_t size, int protection) {
    return mprotect(address, size, protection) == 0;
}

void* tern_remap(void* old_address, std::size_t old_size, std::size_t new_size) {
    if (new_size == 0)
        return old_address;
    void* address = tern_mmap(new_size);
    if (!address)
        return nullptr;
    std::memset(address, 0, new_size);
    if (old_address) {
        std::memcpy(address, old_address, std::min(old_size, new_size));
        tern_munmap(old_address, old_size);
    }
    return address;
}

std::int64_t tern_get_page_size() {
    const std::int64_t cached = tern::cached_page_size.load();
    return cached != -1 ? cached : sysconf(_SC_PAGESIZE);
}
