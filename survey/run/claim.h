/// Keeping two surveys off one another's CPUs.
#pragma once

#include <optional>
#include <vector>

namespace survey {

/// Marks CPUs as being measured on, for as long as it lives: by sockets in the kernel's own name
/// space, which vanish with the process however it ends. Other containers do not see them.
class Claim {
  public:
    Claim() = default;
    ~Claim();
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    /// The first of the CPUs that another survey has claimed; nothing where all are now ours (or
    /// the kernel has no such sockets).
    std::optional<unsigned> take(const std::vector<unsigned>& cpus);

  private:
    std::vector<int> sockets;
};

}  // namespace survey
