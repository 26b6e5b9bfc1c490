/// What the line reader gives.
#pragma once

#include <string>
#include <vector>

#include "tern/line_reader.h"

/// The lines that the reader gives, over a buffer of its own so that a sanitizer sees a byte too
/// far.
inline std::vector<std::string> read_lines(int fd, std::uint32_t buffer_size) {
    std::vector<char> buffer(buffer_size);
    std::vector<std::string> lines;
    tern_line_state state;
    tern_line_reader_init(&state, fd, buffer.data(), buffer_size);
    while (tern_read_line(&state))
        lines.emplace_back(buffer.data());
    return lines;
}
