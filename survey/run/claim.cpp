#include "survey/run/claim.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace survey {
namespace {

/// FNV-1a, 64 bits: a socket's name is too short for a path. The same in programs of any width.
std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const unsigned char byte : text)
        hash = (hash ^ byte) * 0x100000001b3;
    return hash;
}

}  // namespace

Claim::~Claim() {
    for (const int socket : sockets)
        close(socket);
}

bool Claim::take(const std::string& name) {
    const int made = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (made < 0)
        return true;
    sockets.push_back(made);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // A zero byte first: the name is no file's.
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return bind(made, reinterpret_cast<const sockaddr*>(&address), length) == 0 ||
           errno != EADDRINUSE;
}

std::optional<unsigned> Claim::takeCpus(const std::vector<unsigned>& cpus) {
    for (const unsigned cpu : cpus)
        if (!take("kestrel-survey on CPU " + std::to_string(cpu)))
            return cpu;
    return std::nullopt;
}

bool Claim::takeFile(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    // Absolute first: of a relative path to no file only the name would be left.
    const fs::path resolved = fs::weakly_canonical(fs::absolute(path, ignored), ignored);
    // The folder by its number: in another container its path may lead elsewhere.
    std::string identity = path;
    struct stat folder {};
    if (stat(resolved.parent_path().c_str(), &folder) == 0)
        identity = std::to_string(folder.st_dev) + ':' + std::to_string(folder.st_ino) + '/' +
                   resolved.filename().native();
    std::array<char, 24> hash;
    std::snprintf(hash.data(), hash.size(), "%016llx",
                  static_cast<unsigned long long>(hashOf(identity)));
    return take(std::string("kestrel-survey on file ") + hash.data());
}

}  // namespace survey
