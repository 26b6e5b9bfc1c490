/// What recordings and case files are made of: escapes in their texts, the answers of CPUID.
#pragma once

#include <map>
#include <string>

#include "tern/processor.h"

/// With \n \r \t \0 and \xHH resolved; a backslash before anything else goes away.
inline std::string unescaped(std::string text) {
    const std::map<char, char> letters{{'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'0', '\0'}};
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos; ++at) {
        const char letter = text.at(at + 1);
        if (letter == 'x')
            text.replace(at, 4, 1,
                         static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
        else
            text.replace(at, 2, 1, letters.contains(letter) ? letters.at(letter) : letter);
    }
    return text;
}

/// By leaf and subleaf; one that is not here answers zeros.
inline std::map<std::pair<std::uint32_t, std::uint32_t>, tern_cpuid_block> recorded_leaves;

inline void recorded_cpuid(const tern_cpuid_block* in, tern_cpuid_block* out) {
    const std::pair leaf(in->eax, in->ecx);
    *out = recorded_leaves.contains(leaf) ? recorded_leaves.at(leaf) : tern_cpuid_block{};
}

/// The three leaves of a brand text.
inline void record_brand(std::string brand) {
    recorded_leaves[{0x80000000, 0}].eax = 0x80000008;
    brand.resize(48);
    for (std::uint32_t leaf = 0x80000002; leaf <= 0x80000004; ++leaf, brand.erase(0, 16))
        brand.copy(reinterpret_cast<char*>(&recorded_leaves[{leaf, 0}]), 16);
}
