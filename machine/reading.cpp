#include "machine/reading.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "machine/text.h"
#include "tern/files.h"

namespace machine {

std::optional<std::string> readFile(const Sources& sources, const std::string& path) {
    const int fd = tern_open_read((sources.root + path).c_str());
    if (fd == -1)
        return std::nullopt;
    std::string text;
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = tern_read(fd, buffer.data(), buffer.size())) > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    tern_close(fd);
    return count == 0 ? std::optional(std::move(text)) : std::nullopt;
}

std::optional<std::string> readLine(const Sources& sources, const std::string& path) {
    const auto text = readFile(sources, path);
    if (!text)
        return std::nullopt;
    std::string_view rest = *text;
    return told(validText(trimmed(takeUntil(rest, '\n'))));
}

std::optional<std::uint64_t> readNumber(const Sources& sources, const std::string& path) {
    const auto line = readLine(sources, path);
    return line ? parseNumber(*line) : std::nullopt;
}

std::optional<NumberList> readList(const Sources& sources, const std::string& path) {
    const auto text = readFile(sources, path);
    return text ? parseNumberList(*text) : std::nullopt;
}

void eachField(std::string_view text,
               const std::function<void(std::string_view, std::string_view)>& take) {
    while (!text.empty()) {
        std::string_view value = takeUntil(text, '\n');
        const std::string_view name = takeUntil(value, ':');
        take(trimmed(name), trimmed(value));
    }
}

std::vector<std::string> namesIn(const Sources& sources, const std::string& path) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(sources.root + path, error), end;
         !error && entry != end; entry.increment(error))
        names.push_back(entry->path().filename());
    std::ranges::sort(names);
    return names;
}

}  // namespace machine
