#include "tern/assertion.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

void tern_assert_fail(const char* path, unsigned line, const char* function, const char* condition,
                      const char* message_format, ...) {
    std::array<char, 257> message{};
    if (message_format) {
        va_list arguments;
        va_start(arguments, message_format);
        std::vsnprintf(message.data(), 256, message_format, arguments);
        va_end(arguments);
    }
    std::fprintf(stderr, "%s:%u %s: Assertion '%s' failed.\n%s\n", path, line, function, condition,
                 message.data());
    std::abort();
}
