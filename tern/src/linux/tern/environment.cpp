#include "tern/environment.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

int tern_setenv(const char* name, const char* value) {
    if (!name)
        return 0;
    return (value ? setenv(name, value, 1) : unsetenv(name)) == 0;
}

char* tern_getenv(const char* name) {
    const char* value = std::getenv(name);
    return value ? tern_strdup(value) : nullptr;
}

char* tern_strdup(const char* text) {
    const std::size_t bytes = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(std::malloc(bytes));
    return copy ? static_cast<char*>(std::memcpy(copy, text, bytes)) : nullptr;
}

int tern_strdup_with(const char* text, char** copy, tern_allocator* allocator) {
    const std::size_t length = std::strlen(text);
    if (length == 0)
        return 0;
    *copy = allocator->allocate_text(allocator, length + 1);
    if (!*copy)
        return 0;
    std::memcpy(*copy, text, length + 1);
    return 1;
}

int tern_strcpy_bounded(const char* source, char* destination, std::size_t size) {
    if (!source)
        return 0;
    std::strncpy(destination, source, size);
    return 1;
}

char* tern_get_host_name(tern_allocator* allocator) {
    constexpr std::size_t size = 4096;
    auto* name = static_cast<char*>(allocator->allocate_block(allocator, size));
    if (name && gethostname(name, size) != 0)
        name[0] = '\0';
    return name;
}
