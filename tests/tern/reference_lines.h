/// What the line reader must give, said in the plainest way.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "tern/line_reader.h"

/// The lines of a text as a reader with a buffer of this size must see them.
inline std::vector<std::string> reference_lines(const std::string& text, std::size_t buffer_size) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; buffer_size > 1 && at < text.size();) {
        const std::string piece = text.substr(at, buffer_size - 1);
        const std::size_t length = std::min(piece.find('\n'), piece.size());
        lines.push_back(piece.substr(0, std::min(length, piece.find_first_of("\r\0", 0, 2))));
        at += length + (length < piece.size());
    }
    return lines;
}

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
