/// The caller's allocator: whoever asks the layer for a text or a table says where its memory
/// comes from.
#pragma once

#include <cstddef>

extern "C" {

/// An allocator handle: a record of three operations, each of which gets the handle itself, so
/// that a caller can keep its own state behind the record. An allocation operation returns null
/// when it has no memory; what it returns need not be zeroed and belongs to the caller of the
/// layer, who gives it back through `release`. The layer never releases anything itself.
/// As thread-safe as the caller's functions are.
struct tern_allocator {
    void (*release)(tern_allocator* self, void* memory);
    char* (*allocate_text)(tern_allocator* self, std::size_t bytes);
    void* (*allocate_block)(tern_allocator* self, std::size_t bytes);
};

}  // extern "C"
