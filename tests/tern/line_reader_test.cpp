#include "tern/line_reader.h"

#include <fcntl.h>

#include "read_lines.h"
#include "temporary.h"
#include "tern/assertion.h"
#include "tern/memory.h"

namespace {

using lines = std::vector<std::string>;

TEST(LineReader, AnErrorInTheMiddleEndsTheLinesHeld) {
    int ends[2], folder = open("/", O_RDONLY);
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    ASSERT_EQ(write(ends[1], "a\nb", 3), 3);
    EXPECT_EQ(read_lines(ends[0], 64), (lines{"a", "b"})) << "then the read fails: no more yet";
    ASSERT_EQ(write(ends[1], "c\n", 2), 2);
    EXPECT_EQ(read_lines(ends[0], 64), lines{"c"});
    EXPECT_EQ(read_lines(folder, 64), lines{}) << "a folder cannot be read";
    for (int fd : {ends[0], ends[1], folder})
        close(fd);
}

TEST(AssertionReport, SaysWhereAndWhatAndAborts) {
    char buffer[4];
    tern_line_state torn{.fd = -1, .buffer = buffer, .len = 4, .read = 1, .parsed = 2};
    tern_line_state full{.fd = -1, .buffer = buffer, .len = 4, .read = 4, .parsed = 0};
    expect_report([&] { tern_read_line(&torn); }, "tern_read_line", "state->parsed <= state->read",
                  "tern/src/tern");
    expect_report([&] { tern_read_line(&full); }, "tern_read_line", "state->read < state->len",
                  "tern/src/tern");
    expect_report([&] { tern_munmap(buffer + 1, 1); }, "tern_munmap", "result == 0");
    const std::string message(255, 'x');
    EXPECT_EXIT(tern_assert_fail("p", 4294967295u, "f", "c", "%sYY", message.c_str()), killed,
                "^p:4294967295 f: Assertion 'c' failed\\.\n" + message + "\n$");
}

}  // namespace
