/// The layer's single answer to a broken invariant: a report on standard error, then abort.
#pragma once

extern "C" {

/// Prints "%s:%u %s: Assertion '%s' failed.\n%s\n" to standard error in one formatted write, filled
/// with path, line, function, condition and the message, and calls abort. The message is
/// `message_format` with its arguments, cut to 255 bytes; empty when the format is null.
/// Flushes and cleans up nothing beyond what abort does. Any thread may call it.
[[noreturn, gnu::format(printf, 5, 6)]] void tern_assert_fail(const char* path, unsigned line,
                                                              const char* function,
                                                              const char* condition,
                                                              const char* message_format, ...);

}  // extern "C"
