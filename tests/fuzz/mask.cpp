// The bytes are the list: what is accepted, written out number by number, is accepted as the same.
#include "mask.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<unsigned> numbers, again;
    if (Kestrel::parseMask({data, data + size}, numbers) != Kestrel::meOk)
        return 0;
    std::string list;
    for (unsigned number : numbers)
        list += (list.empty() ? "" : ",") + std::to_string(number);
    if (numbers.size() > Kestrel::longestMask ||
        (!numbers.empty() && Kestrel::parseMask(list, again) != Kestrel::meOk) || numbers != again)
        std::abort();
    return 0;
}
