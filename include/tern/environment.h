/// Environment variables, copies of texts, and the host's name.
/// The environment is process-wide and has no lock: no thread may change it while another reads it.
/// The rest may be called from any thread.
#pragma once

#include <cstddef>

#include "tern/allocator.h"

extern "C" {

/// Sets a variable, replacing its old value; a null `value` removes it; a null `name` does nothing.
/// Returns 1 on success, else 0 (also for a null name).
int tern_setenv(const char* name, const char* value);

/// Returns a copy of a variable's value, which the caller gives to free; null when it is unset or
/// memory is short.
char* tern_getenv(const char* name);

/// Returns a copy that the caller gives to free, or null.
char* tern_strdup(const char* text);

/// Stores in `copy` a copy of `text` from the allocator's allocate_text; the caller owns it.
/// Returns 1; 0 for an empty text, `copy` untouched, or when the allocation fails, `copy` null.
int tern_strdup_with(const char* text, char** copy, tern_allocator* allocator);

/// Copies `source` to the `size` bytes at `destination` and fills what is left of them with zeros;
/// a source of `size` bytes or more leaves no terminating zero. Returns 1; 0, nothing done, for a
/// null source.
int tern_strcpy_bounded(const char* source, char* destination, std::size_t size);

/// Returns the host's name, zero-terminated in a block of 4096 bytes from the allocator's
/// allocate_block that the caller owns, empty where the system does not tell; null when the
/// allocation fails.
char* tern_get_host_name(tern_allocator* allocator);

}  // extern "C"
