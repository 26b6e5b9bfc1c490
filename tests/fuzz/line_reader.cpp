// The first byte is the buffer's size, the rest the file: the lines are those of the plain reading.
#include <algorithm>

#include "tests/tern/read_lines.h"
#include "tests/tern/text_file.h"

/// The lines of a text as a reader with a buffer of this size must see them.
static std::vector<std::string> reference_lines(const std::string& text, std::size_t buffer_size) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; buffer_size > 1 && at < text.size();) {
        const std::string piece = text.substr(at, buffer_size - 1);
        const std::size_t length = std::min(piece.find('\n'), piece.size());
        lines.push_back(piece.substr(0, std::min(length, piece.find_first_of("\r\0", 0, 2))));
        at += length + (length < piece.size());
    }
    return lines;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint32_t buffer_size = size == 0 ? 1 : std::max<std::uint32_t>(data[0], 1);
    const std::string text(data + (size != 0), data + size);
    if (read_lines(text_file(text).fd, buffer_size) != reference_lines(text, buffer_size))
        std::abort();
    return 0;
}
