#include "tern/line_reader.h"

#include <fcntl.h>

#include <random>

#include "reference_lines.h"
#include "temporary.h"
#include "tern/assertion.h"
#include "tern/memory.h"

namespace {

using lines = std::vector<std::string>;

TEST(LineReader, TextsAgreeWithThePlainReading) {
    std::vector<std::string> texts{"a\r\nb", "0123456789", ""};
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i)
        for (char& c : texts.emplace_back(random() % 60, ' '))
            c = "ab\n\n\r\0xyz"[random() % 9];
    for (const std::string& text : texts)
        for (std::uint32_t size : {1, 2, 3, 4, 7, 16, 64})
            ASSERT_EQ(read_lines(text_file(text).fd, size), reference_lines(text, size));
    EXPECT_EQ(reference_lines(texts[0], 16), (lines{"a", "b"}));
    EXPECT_EQ(reference_lines(texts[1], 4), (lines{"012", "345", "678", "9"}));
}

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
