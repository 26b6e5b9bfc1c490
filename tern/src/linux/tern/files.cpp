#include "tern/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

int tern_open_read(const char* path) {
    return open(path, O_RDONLY | O_LARGEFILE);
}

int tern_open_rw(const char* path) {
    return open(path, O_RDWR | O_LARGEFILE);
}

int tern_open_append(const char* path) {
    return open(path, O_RDWR | O_APPEND | O_LARGEFILE);
}

int tern_create_file(const char* path) {
    return open(path, O_RDWR | O_CREAT | O_TRUNC | O_LARGEFILE, 0666);
}

int tern_create_file_mode(const char* path, mode_t mode) {
    const int descriptor = tern_create_file(path);
    static_cast<void>(chmod(path, mode));
    return descriptor;
}

std::int64_t tern_seek(int descriptor, std::int64_t offset, int origin) {
    const int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
    return lseek64(descriptor, offset, whence);
}

ssize_t tern_read(int descriptor, void* buffer, std::size_t length) {
    return read(descriptor, buffer, length);
}

ssize_t tern_write(int descriptor, const void* buffer, std::size_t length) {
    return write(descriptor, buffer, length);
}

int tern_close(int descriptor) {
    return close(descriptor);
}

int tern_fsync(int descriptor) {
    return fsync(descriptor);
}

int tern_unlink(const char* path) {
    return unlink(path);
}

int tern_mkdir(const char* path) {
    return mkdir(path, 0775) == 0;
}

int tern_rmdir(const char* path) {
    return rmdir(path) == 0;
}

int tern_signalfd(int descriptor, const sigset_t* signals, int flags) {
    // The kernel's own signal set is 64 bits wide, shorter than the C library's.
    constexpr std::size_t kernel_set_size = 8;
    return static_cast<int>(syscall(SYS_signalfd4, descriptor, signals, kernel_set_size, flags));
}
