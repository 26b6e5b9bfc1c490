/// Runs code one instruction at a time and shows each to the test: what was really executed, not
/// what a listing or a comment says.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

/// An instruction that the child has just executed.
class Executed {
  public:
    Executed(const std::uint8_t* code, pid_t child) : code(code), child(child) {}

    /// The 64 bytes of the child's vector register of that number (0 to 7).
    [[nodiscard]] std::array<std::byte, 64> vectorRegister(std::size_t number) const;

    const std::uint8_t* code;  ///< a child of fork has its code where we have it

  private:
    pid_t child;
};

/// Calls `work` in a child process and `look` after each of its instructions. Returns the signal
/// that ended it, or 0 when it came to its end.
int singleStep(
    const std::function<void()>& work,
    const std::function<void(const Executed&)>& look = [](const Executed&) {});
