/// Runs code one instruction at a time and shows each to the test: what was really executed, not
/// what a listing or a comment says.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

/// A vector instruction, as its bytes say.
struct VectorInstruction {
    std::uint32_t map;     ///< opcode map: 1 for 0F, 2 for 0F 38
    std::uint32_t prefix;  ///< 0 none, 1 for 66, 2 for F3, 3 for F2
    bool wide;             ///< W: 64-bit elements, where the opcode leaves it open
    std::uint32_t bytes;   ///< of the whole register: 16, 32 or 64
    std::uint8_t opcode, modrm;

    [[nodiscard]] bool registersOnly() const { return modrm >> 6 == 3; }
    [[nodiscard]] unsigned target() const { return modrm >> 3 & 7; }
};

/// An instruction that the child has just executed.
struct Executed {
    const std::uint8_t* code;  ///< a child of fork has its code where we have it
    pid_t child;

    /// The 64 bytes of the child's vector register of that number (0 to 7).
    [[nodiscard]] std::array<std::byte, 64> vectorRegister(std::size_t number) const;
    /// Nothing where the code has none of the forms of the kernels' vector instructions, which use
    /// the vector registers 0 to 7.
    [[nodiscard]] std::optional<VectorInstruction> asVectorInstruction() const;
};

/// Behind a REX prefix, which 64-bit code has where it names registers 8 to 15 or all 64 bits.
inline const std::uint8_t* skipRex(const std::uint8_t* code) {
    return sizeof(void*) == 8 && code[0] >> 4 == 4 ? code + 1 : code;
}

/// Calls `work` in a child process and `look` after each of its instructions. Returns the signal
/// that ended it, or 0 when it came to its end.
int singleStep(
    const std::function<void()>& work,
    const std::function<void(const Executed&)>& look = [](const Executed&) {});

/// The same, but looks only between the first two readings of the time-stamp counter: at what a
/// kernel does in the span that it times.
int singleStepTimed(const std::function<void()>& kernel,
                    const std::function<void(const Executed&)>& look);
