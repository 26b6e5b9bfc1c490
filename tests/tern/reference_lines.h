/// What the line reader must give for a file, said in the plainest way.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

inline std::vector<std::string> reference_lines(const std::string& text, std::size_t buffer_size) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; buffer_size > 1 && at < text.size();) {
        const std::string piece = text.substr(at, buffer_size - 1);
        const std::size_t length = std::min(piece.find('\n'), piece.size());
        const std::string line = piece.substr(0, length);
        lines.push_back(line.substr(0, line.find_first_of(std::string("\r\0", 2))));
        at += length + (length < piece.size());
    }
    return lines;
}
