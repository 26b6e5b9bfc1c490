// The first byte is the buffer's size, the rest the file: the lines are those of the plain reading.
#include "tests/tern/reference_lines.h"
#include "tests/tern/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint32_t buffer_size = size == 0 ? 1 : std::max<std::uint32_t>(data[0], 1);
    const std::string text(data + (size != 0), data + size);
    if (read_lines(text_file(text).fd, buffer_size) != reference_lines(text, buffer_size))
        std::abort();
    return 0;
}
