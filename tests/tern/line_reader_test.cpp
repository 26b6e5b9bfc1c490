#include "tern/line_reader.h"

#include <fcntl.h>

#include <random>

#include "reference_lines.h"
#include "temporary.h"
#include "tern/assertion.h"
#include "tern/memory.h"

namespace {

using lines = std::vector<std::string>;

/// All lines of a descriptor, over a buffer of its own so that a sanitizer sees a byte too far.
lines read_lines(int fd, std::uint32_t buffer_size) {
    std::vector<char> buffer(buffer_size);
    lines result;
    tern_line_state state;
    tern_line_reader_init(&state, fd, buffer.data(), buffer_size);
    while (tern_read_line(&state))
        result.emplace_back(buffer.data());
    return result;
}

TEST(LineReader, KnownAndRandomTexts) {
    const auto read_text = [](const std::string& text, std::uint32_t buffer_size) {
        const int fd = open(text_file(text).c_str(), O_RDONLY);
        const lines result = read_lines(fd, buffer_size);
        close(fd);
        return result;
    };
    EXPECT_EQ(read_text("a\r\nb", 16), (lines{"a", "b"}));
    EXPECT_EQ(read_text("0123456789", 4), (lines{"012", "345", "678", "9"}));
    EXPECT_EQ(read_text("abc", 1), lines{});
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 60, ' ');
        for (char& c : text)
            c = "ab\n\n\r\0xyz"[random() % 9];
        for (std::uint32_t size : {1, 2, 3, 4, 7, 16, 64})
            ASSERT_EQ(read_text(text, size), reference_lines(text, size));
    }
}

TEST(LineReader, AnErrorInTheMiddleEndsTheLinesHeld) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    ASSERT_EQ(write(ends[1], "a\nb", 3), 3);
    EXPECT_EQ(read_lines(ends[0], 64), (lines{"a", "b"})) << "then the read would block: an error";
    ASSERT_EQ(write(ends[1], "c\n", 2), 2);
    EXPECT_EQ(read_lines(ends[0], 64), lines{"c"});
    const int folder = open("/", O_RDONLY);
    EXPECT_EQ(read_lines(folder, 64), lines{}) << "a folder cannot be read";
    for (int fd : {ends[0], ends[1], folder})
        close(fd);
}

TEST(AssertionReport, SaysWhereAndWhatAndAborts) {
    char buffer[4];
    tern_line_state torn{.fd = -1, .buffer = buffer, .len = 4, .read = 1, .parsed = 2};
    tern_line_state full{.fd = -1, .buffer = buffer, .len = 4, .read = 4, .parsed = 0};
    expect_report([&] { tern_read_line(&torn); }, "tern/src/tern",
                  "tern_read_line: Assertion 'state->parsed <= state->read'");
    expect_report([&] { tern_read_line(&full); }, "tern/src/tern",
                  "tern_read_line: Assertion 'state->read < state->len'");
    expect_report([&] { tern_munmap(buffer + 1, 1); }, "tern/src/linux/tern",
                  "tern_munmap: Assertion 'result == 0'");
    const std::string message(255, 'x');
    EXPECT_EXIT(tern_assert_fail("p", 4294967295u, "f", "c", "%sYY", message.c_str()),
                testing::KilledBySignal(SIGABRT),
                "^p:4294967295 f: Assertion 'c' failed\\.\n" + message + "\n$");
}

}  // namespace
