#include "survey/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <utility>

namespace survey {
namespace {

/// Removes the file that it names, unless it is told to keep it.
class Temporary {
  public:
    explicit Temporary(std::string name) : name(std::move(name)) {}
    ~Temporary() {
        if (descriptor >= 0)
            close(descriptor);
        if (made)
            unlink(name.c_str());
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    bool make(mode_t mode) {
        descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        made = descriptor >= 0;
        return made;
    }
    [[nodiscard]] bool writeAll(const std::string& text) const {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return false;
            done += static_cast<std::size_t>(count);
        }
        return fsync(descriptor) == 0;
    }
    bool renameTo(const std::string& path) {
        // A network's file system reports a full disk only here.
        const int closed = close(std::exchange(descriptor, -1));
        if (closed != 0 || rename(name.c_str(), path.c_str()) != 0)
            return false;
        made = false;
        return true;
    }
    /// As the file that it replaces, where there is one; else as the umask has it.
    void takeModeOf(const std::string& path) const {
        struct stat old {};
        if (stat(path.c_str(), &old) == 0)
            static_cast<void>(fchmod(descriptor, old.st_mode & 07777));
    }

  private:
    std::string name;
    int descriptor = -1;
    bool made = false;
};

}  // namespace

std::string readFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()) || file.bad())
        throw FileError(path, errno != 0 ? std::strerror(errno) : "it is empty");
    return text.str();
}

void replaceFile(const std::string& path, const std::string& text) {
    std::error_code ignored;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, ignored);
    const std::string target = ignored ? path : resolved.string();
    // A rename would put a file in the place of a device.
    struct stat old {};
    if (stat(target.c_str(), &old) == 0 && !S_ISREG(old.st_mode))
        throw FileError(path, "is no ordinary file");
    // No process id: containers repeat them, and a run that was killed leaves its file behind.
    Temporary temporary(target + ".part-" + std::to_string(std::random_device()()));
    if (!temporary.make(0666))
        throw FileError(path, std::strerror(errno));
    temporary.takeModeOf(target);
    if (!temporary.writeAll(text) || !temporary.renameTo(target))
        throw FileError(path, std::strerror(errno));
}

}  // namespace survey
