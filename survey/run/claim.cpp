#include "survey/run/claim.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace survey {

Claim::~Claim() {
    for (const int socket : sockets)
        close(socket);
}

std::optional<unsigned> Claim::take(const std::vector<unsigned>& cpus) {
    for (const unsigned cpu : cpus) {
        const int made = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (made < 0)
            continue;
        sockets.push_back(made);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // A zero byte first: the name is no file's.
        const std::string name = "kestrel-survey on CPU " + std::to_string(cpu);
        std::memcpy(address.sun_path + 1, name.data(), name.size());
        const auto length =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        if (bind(made, reinterpret_cast<const sockaddr*>(&address), length) != 0 &&
            errno == EADDRINUSE)
            return cpu;
    }
    return std::nullopt;
}

}  // namespace survey
