// The first byte is the buffer's size, the rest the file: the lines are those of the plain reading.
#include "tern/line_reader.h"

#include "tests/fuzz/text_file.h"
#include "tests/tern/reference_lines.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::vector<char> buffer(std::max<std::size_t>(data[0], 1));
    const std::string text(data + 1, data + size);
    const text_file file(text);
    tern_line_state state;
    tern_line_reader_init(&state, file.fd(), buffer.data(),
                          static_cast<std::uint32_t>(buffer.size()));
    for (const std::string& line : reference_lines(text, buffer.size()))
        expect(tern_read_line(&state) == 1 && line == buffer.data());
    expect(tern_read_line(&state) == 0);
    return 0;
}
