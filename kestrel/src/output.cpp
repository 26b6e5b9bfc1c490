#include "output.h"

#include <iostream>
#include <string>
#include <string_view>

namespace Kestrel {

void printLine(const char* text) {
    std::cout << text << std::endl;
}

void printError(const char* text) {
    std::wstring line;
    for (const char c : std::string_view(text))
        line += c >= ' ' && c <= '~' ? static_cast<wchar_t>(c) : L'?';
    std::wcout << line << std::endl;
}

}  // namespace Kestrel
