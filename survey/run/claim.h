/// Keeping two surveys off one another's CPUs and files.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace survey {

/// Marks CPUs as being measured on, and a file as being written, for as long as it lives: by
/// sockets in the kernel's own name space, which vanish with the process however it ends.
/// Containers with a network of their own do not see them.
class Claim {
  public:
    Claim() = default;
    ~Claim();
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    /// The first of the CPUs that another survey has claimed; nothing where all are now ours (or
    /// the kernel has no such sockets).
    std::optional<unsigned> takeCpus(const std::vector<unsigned>& cpus);

    /// False where another survey has claimed the file, by whatever name. The claim is on the path,
    /// as what is there is replaced, and need not be there yet.
    bool takeFile(const std::string& path);

  private:
    /// False where the name is taken.
    bool take(const std::string& name);

    std::vector<int> sockets;
};

}  // namespace survey
