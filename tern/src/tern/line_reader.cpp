#include "tern/line_reader.h"

#include <cstring>

#include "tern/files.h"
#include "tern/src/tern/check.h"

void tern_line_reader_init(tern_line_state* state, std::int32_t fd, char* buffer,
                           std::uint32_t len) {
    *state = {.fd = fd, .buffer = buffer, .len = len, .read = 0, .parsed = 0};
}

/// Drops the line handed out last and moves what follows it to the start of the buffer.
static void drop_parsed(tern_line_state& state) {
    state.read -= state.parsed;
    if (state.read > 0)
        std::memmove(state.buffer, state.buffer + state.parsed, state.read);
    state.parsed = 0;
}

int tern_read_line(tern_line_state* state) {
    tern::check(state->parsed <= state->read, "state->parsed <= state->read", "tern_read_line",
                tern::portable_half);
    tern::check(state->read < state->len, "state->read < state->len", "tern_read_line",
                tern::portable_half);
    drop_parsed(*state);

    // One read a call even when a line is held: a caller sees the file's present, and a full buffer
    // makes it a read of nothing.
    ssize_t got = tern_read(state->fd, state->buffer + state->read, state->len - state->read - 1);
    if (got > 0)
        state->read += static_cast<std::uint32_t>(got);
    if (state->read == 0)
        return 0;

    for (std::uint32_t i = 0; i < state->read; ++i) {
        char& c = state->buffer[i];
        if (c == '\r') {
            c = '\0';
        } else if (c == '\n') {
            c = '\0';
            state->parsed = i + 1;
            return 1;
        }
    }
    state->buffer[state->read] = '\0';
    state->parsed = state->read;
    return 1;
}
