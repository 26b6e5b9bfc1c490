/// Reading the caller's own registers.
#pragma once

#include <ucontext.h>

#include <cstdint>

extern "C" {

/// Stores the caller's registers in the general-register slots of `context` and touches nothing
/// else of it: FS, EDI, ESI, EBP, EBX, EDX, ECX as they are at the call, ESP as it is after the
/// return (just above the return address), EIP the return address. FS is zero-extended.
/// The 64-bit build stores the same registers by their 64-bit names and R8 to R15 besides; its FS
/// is the 16-bit field in the slot that CS, GS and FS share, whose other fields stay. Any thread
/// may call it.
void tern_capture_context(ucontext_t* context);

/// Returns the current stack pointer, zero-extended to 64 bits.
std::uint64_t tern_get_stack_pointer();

/// Returns the calling thread's thread pointer: the word at offset 0 of the segment that Linux
/// keeps it in, GS for 32-bit programs and FS for 64-bit ones.
void* tern_get_thread_pointer();

}  // extern "C"
