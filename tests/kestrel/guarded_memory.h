/// Memory with an inaccessible page on either side, so that an access outside it ends the test.
/// Sanitizers do not see assembly; the processor does.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

class GuardedMemory {
  public:
    enum Side { atStart, atEnd };

    /// `size` bytes that touch the guard on one side, filled with noise.
    GuardedMemory(std::size_t size, Side side) : size(size) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t usable = (size + page - 1) / page * page;
        mapped = usable + 2 * page;
        base = static_cast<std::byte*>(
            mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base + page, usable, PROT_READ | PROT_WRITE);
        first = base + page + (side == atEnd ? usable - size : 0);
        std::mt19937 noise(static_cast<unsigned>(size));
        std::generate(begin(), end(), [&] { return static_cast<std::byte>(noise()); });
    }
    ~GuardedMemory() { munmap(base, mapped); }
    GuardedMemory(GuardedMemory&&) = delete;

    [[nodiscard]] std::byte* begin() const { return first; }
    [[nodiscard]] std::byte* end() const { return first + size; }
    [[nodiscard]] std::vector<std::byte> copy() const { return {begin(), end()}; }

  private:
    std::size_t size, mapped = 0;
    std::byte *base = nullptr, *first = nullptr;
};
