/// Lines of a file read through a plain descriptor, over one buffer of the caller's, without
/// allocation: made for the small files of /proc and /sys.
#pragma once

#include <cstdint>

extern "C" {

/// One reader. The caller owns it, the buffer and the descriptor, and uses it from one thread at a
/// time. Between calls parsed <= read < len holds: one byte always stays free for a terminator.
struct tern_line_state {
    std::int32_t fd;
    char* buffer;          ///< the current line starts at its first byte
    std::uint32_t len;     ///< capacity of the buffer in bytes, at least 1
    std::uint32_t read;    ///< bytes now held in the buffer
    std::uint32_t parsed;  ///< offset of the first held byte not yet handed out
};

void tern_line_reader_init(tern_line_state* state, std::int32_t fd, char* buffer,
                           std::uint32_t len);

/// Returns 1 with the next line as a zero-terminated text at the start of the buffer, valid until
/// the next call, or 0 when the input is exhausted. Carriage returns become zeros. A line longer
/// than len - 1 bytes comes in pieces. One read system call a line; a read that fails is taken for
/// the end of the input, and one that gives only part of a line ends the line there.
/// A state that breaks the invariant ends the process with a report.
int tern_read_line(tern_line_state* state);

}  // extern "C"
