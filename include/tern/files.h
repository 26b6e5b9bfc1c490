/// Files, directories and the signal descriptor. A descriptor is -1 on failure and the caller
/// closes it; nothing is retried; errno stays as the system call left it. Files beyond 2 GiB open
/// in both builds. Thread-safe as the calls they wrap.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <cstdint>

extern "C" {

int tern_open_read(const char* path);
/// Reading and writing an existing file.
int tern_open_rw(const char* path);
/// The same, every write at the end.
int tern_open_append(const char* path);
/// Reading and writing a new or emptied file, permissions 0666 less the umask.
int tern_create_file(const char* path);
/// The same, then chmod of the path to `mode`, whatever the umask; a failing chmod is ignored. Also
/// where the file could not be opened: what stands at that path then gets the new mode all the
/// same.
int tern_create_file_mode(const char* path, mode_t mode);

/// `origin`: 0 the start, 1 the current position, 2 the end, any other code the start. Returns the
/// new offset from the start in bytes, -1 on failure.
std::int64_t tern_seek(int descriptor, std::int64_t offset, int origin);

/// Bytes moved, which may be fewer than asked for, 0 at the end of a file; -1 on failure.
ssize_t tern_read(int descriptor, void* buffer, std::size_t length);
ssize_t tern_write(int descriptor, const void* buffer, std::size_t length);

/// Status: 0, or -1.
int tern_close(int descriptor);
int tern_fsync(int descriptor);
int tern_unlink(const char* path);

/// Permissions 0775 less the umask. Returns 1 if the directory was created, else 0.
int tern_mkdir(const char* path);
/// Returns 1 if the directory was removed, else 0.
int tern_rmdir(const char* path);

/// Makes (`descriptor` -1) or changes a descriptor from which the signals of `signals` are read, by
/// the signalfd4 system call; `flags` are signalfd's SFD_ bits. Returns it, or -1.
int tern_signalfd(int descriptor, const sigset_t* signals, int flags);

}  // extern "C"
