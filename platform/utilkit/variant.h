/// A typed value, in which option defaults are handed to the parser and parsed values come back.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace utilkit {

enum VariantType : int {
    vtBoolean = 0,
    vtUnsigned = 6,  ///< 0 to 7 are the integer types, all with a 64-bit payload
    vtString = 12,
    vtNone = 17,
};

struct variant_t {
    int type = vtNone;
    std::uint64_t payload = 0;  ///< of the integer types
    std::string text;           ///< of vtString

    static variant_t ofBoolean(bool value) { return {vtBoolean, value ? 1u : 0u, {}}; }
    static variant_t ofUnsigned(std::uint64_t value) { return {vtUnsigned, value, {}}; }
    static variant_t ofString(std::string value) { return {vtString, 0, std::move(value)}; }

    [[nodiscard]] bool holdsNothing() const { return type == vtNone; }
};

}  // namespace utilkit
