/// A text as a file that is read through a descriptor.
#pragma once

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tern/files.h"

/// Ends the run, and so reports the text that led here, unless `holds`.
inline void expect(bool holds) {
    if (!holds)
        std::abort();
}

class text_file {
  public:
    explicit text_file(const std::string& text) : fd_(memfd_create("text", 0)) {
        expect(tern_write(fd_, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
        tern_seek(fd_, 0, 0);
    }
    ~text_file() { tern_close(fd_); }
    text_file(const text_file&) = delete;
    text_file& operator=(const text_file&) = delete;

    [[nodiscard]] int fd() const { return fd_; }
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};
