/// What a vector instruction does, read from its bytes.
#pragma once

#include <cstdint>
#include <optional>

struct VectorInstruction {
    std::uint32_t map;     ///< opcode map: 1 for 0F, 2 for 0F 38
    std::uint32_t prefix;  ///< 0 none, 1 for 66, 2 for F3, 3 for F2
    bool wide;             ///< W: 64-bit elements, where the opcode leaves it open
    std::uint32_t bytes;   ///< of the whole register: 16, 32 or 64
    std::uint8_t opcode;
    std::uint8_t modrm;

    [[nodiscard]] bool registersOnly() const { return modrm >> 6 == 3; }
    [[nodiscard]] unsigned target() const { return modrm >> 3 & 7; }
};

/// Behind a REX prefix, which 64-bit code has where it names registers 8 to 15 or all 64 bits.
inline const std::uint8_t* skipRex(const std::uint8_t* code) {
    return sizeof(void*) == 8 && code[0] >> 4 == 4 ? code + 1 : code;
}

/// Nothing where the code has none of the forms of the kernels' vector instructions, which use the
/// vector registers 0 to 7.
inline std::optional<VectorInstruction> decodeVectorInstruction(const std::uint8_t* code) {
    switch (code[0]) {
        case 0xC5:
            return VectorInstruction{1,       code[1] & 3u, false, 16u << (code[1] >> 2 & 1),
                                     code[2], code[3]};
        case 0xC4:
            return VectorInstruction{
                code[1] & 31u, code[2] & 3u, (code[2] & 0x80) != 0, 16u << (code[2] >> 2 & 1),
                code[3],       code[4]};
        case 0x62:
            return VectorInstruction{
                code[1] & 7u, code[2] & 3u, (code[2] & 0x80) != 0, 16u << (code[3] >> 5 & 3),
                code[4],      code[5]};
        default:
            break;
    }
    const std::uint32_t prefix = code[0] == 0x66   ? 1
                                 : code[0] == 0xF3 ? 2
                                 : code[0] == 0xF2 ? 3
                                                   : 0;
    const std::uint8_t* const rest = skipRex(prefix != 0 ? code + 1 : code);
    if (rest[0] != 0x0F)
        return std::nullopt;
    return VectorInstruction{1, prefix, false, 16, rest[1], rest[2]};
}
