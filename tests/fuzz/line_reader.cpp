// The first byte is the buffer's size, the rest the file: the lines are those of the plain reading.
#include "tern/line_reader.h"

#include <fcntl.h>

#include "tests/tern/reference_lines.h"
#include "tests/tern/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::vector<char> buffer(std::max<std::size_t>(data[0], 1));
    const std::string text(data + 1, data + size);
    const int fd = open(text_file(text).c_str(), O_RDONLY);
    tern_line_state state;
    tern_line_reader_init(&state, fd, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    for (const std::string& line : reference_lines(text, buffer.size()))
        if (!tern_read_line(&state) || line != buffer.data())
            std::abort();
    if (tern_read_line(&state))
        std::abort();
    close(fd);
    return 0;
}
