#include "tern/line_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <random>

#include "reference_lines.h"
#include "tern/assertion.h"
#include "tern/files.h"
#include "tern/memory.h"

namespace {

/// All lines of a descriptor over a buffer of its own, so that a sanitizer sees a byte too far.
std::vector<std::string> read_lines(int fd, std::size_t buffer_size) {
    std::vector<char> buffer(buffer_size);
    std::vector<std::string> lines;
    tern_line_state state;
    tern_line_reader_init(&state, fd, buffer.data(), static_cast<std::uint32_t>(buffer_size));
    while (tern_read_line(&state))
        lines.emplace_back(buffer.data());
    return lines;
}

std::vector<std::string> read_text(const std::string& text, std::size_t buffer_size) {
    const int fd = memfd_create("lines", 0);
    tern_write(fd, text.data(), text.size());
    tern_seek(fd, 0, 0);
    auto lines = read_lines(fd, buffer_size);
    tern_close(fd);
    return lines;
}

using lines = std::vector<std::string>;

TEST(LineReader, KnownTexts) {
    EXPECT_EQ(read_text("a\r\nb", 16), (lines{"a", "b"}));
    EXPECT_EQ(read_text("", 16), lines{});
    EXPECT_EQ(read_text("0123456789", 4), (lines{"012", "345", "678", "9"}));
    EXPECT_EQ(read_text("abc", 1), lines{});
    EXPECT_EQ(read_text("\n\n", 2), (lines{"", ""}));
}

TEST(LineReader, RandomTextsAgreeWithThePlainReading) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 60, ' ');
        for (char& c : text)
            c = "ab\n\n\r\0xyz"[random() % 9];
        for (std::size_t size : {1, 2, 3, 4, 7, 16, 64})
            ASSERT_EQ(read_text(text, size), reference_lines(text, size))
                << testing::PrintToString(text);
    }
}

TEST(LineReader, AnErrorInTheMiddleEndsTheLinesHeld) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    tern_write(ends[1], "a\nb", 3);
    EXPECT_EQ(read_lines(ends[0], 64), (lines{"a", "b"})) << "then the read would block: an error";
    tern_write(ends[1], "c\n", 2);
    EXPECT_EQ(read_lines(ends[0], 64), lines{"c"});
    tern_close(ends[0]);
    tern_close(ends[1]);
    const int folder = tern_open_read("/");
    EXPECT_EQ(read_lines(folder, 64), lines{}) << "a folder cannot be read";
    tern_close(folder);
    EXPECT_EQ(read_lines(-1, 64), lines{});
}

TEST(AssertionReport, SaysWhereAndWhatAndAborts) {
    char buffer[4];
    tern_line_state torn{.fd = -1, .buffer = buffer, .len = 4, .read = 1, .parsed = 2};
    tern_line_state full{.fd = -1, .buffer = buffer, .len = 4, .read = 4, .parsed = 0};
    const auto killed = testing::KilledBySignal(SIGABRT);
    // [0-9] for the line: it moves with the source.
    EXPECT_EXIT(tern_read_line(&torn), killed,
                "^tern/src/tern:[0-9]+ tern_read_line: Assertion 'state->parsed <= state->read' "
                "failed\\.\n\n$");
    EXPECT_EXIT(tern_read_line(&full), killed,
                "^tern/src/tern:[0-9]+ tern_read_line: Assertion 'state->read < state->len' "
                "failed\\.\n\n$");
    EXPECT_EXIT(tern_munmap(buffer + 1, 1), killed,
                "^tern/src/linux/tern:[0-9]+ tern_munmap: Assertion 'result == 0' failed\\.\n\n$");
    EXPECT_EXIT(tern_assert_fail("p", 4294967295u, "f", "c", "%d of %s", 3, "ten"), killed,
                "^p:4294967295 f: Assertion 'c' failed\\.\n3 of ten\n$");
    const std::string message(255, 'x');
    EXPECT_EXIT(tern_assert_fail("p", 1, "f", "c", "%sYY", message.c_str()), killed,
                "\n" + message + "\n$");
}

}  // namespace
