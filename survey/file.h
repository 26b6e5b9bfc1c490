/// Files that are written whole or not at all.
#pragma once

#include <stdexcept>
#include <string>

namespace survey {

/// A file that cannot be read or written, in one line that names it and the reason.
class FileError : public std::runtime_error {
  public:
    FileError(const std::string& path, const std::string& reason)
        : std::runtime_error(path + ": " + reason), reasonAt(path.size() + 2) {}
    /// Without the path.
    [[nodiscard]] const char* reason() const { return what() + reasonAt; }

  private:
    std::size_t reasonAt;
};

/// Throws FileError.
std::string readFile(const std::string& path);

/// Writes the text to a temporary file beside `path`, which then takes its name, so that whoever
/// looks sees the old text or the new one. A symbolic link stays one. Throws FileError; then
/// nothing is left behind and what stood at `path` stands there still.
void replaceFile(const std::string& path, const std::string& text);

}  // namespace survey
