#include "output.h"

#include <iostream>
#include <string_view>

namespace Kestrel {

void printLine(const char* text) {
    std::cout << text << std::endl;
}

void printError(const char* text) {
    // Character by character: an error may be that there is no memory for a copy.
    for (const char c : std::string_view(text))
        std::wcout << (c >= ' ' && c <= '~' ? static_cast<wchar_t>(c) : L'?');
    std::wcout << std::endl;
}

int fail(const char* error) {
    printError(error);
    return -1;
}

}  // namespace Kestrel
