/// A text as a file, without a file system.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

struct text_file {
    int fd = memfd_create("text", 0);  ///< at its start
    std::string path = "/proc/self/fd/" + std::to_string(fd);

    explicit text_file(const std::string& text) {
        if (pwrite(fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
            std::abort();
    }
    ~text_file() { close(fd); }
    text_file(const text_file&) = delete;
    text_file& operator=(const text_file&) = delete;
};
