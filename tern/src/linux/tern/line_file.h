/// Walking over the lines of a file of /proc or /sys.
#pragma once

#include <array>
#include <optional>

#include "tern/files.h"
#include "tern/line_reader.h"

namespace tern {

/// Opens `path` and hands each line, a zero-terminated text, to `take` until that returns false.
/// Returns the status of closing the file; nothing when it cannot be opened.
template <typename Take>
std::optional<int> for_each_line(const char* path, Take take) {
    const int fd = tern_open_read(path);
    if (fd == -1)
        return std::nullopt;
    std::array<char, 4096> buffer;
    tern_line_state state;
    tern_line_reader_init(&state, fd, buffer.data(), buffer.size());
    while (tern_read_line(&state) && take(buffer.data())) {
    }
    return tern_close(fd);
}

}  // namespace tern
