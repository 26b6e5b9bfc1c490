// The bytes are the list: what is accepted, written out number by number, is accepted as the same.
#include "mask.h"

#include "tests/fuzz/text_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<unsigned> numbers, again;
    if (Kestrel::parseMask(std::string(data, data + size), numbers) != Kestrel::meOk)
        return 0;
    expect(numbers.size() <= Kestrel::longestMask);
    std::string list;
    for (unsigned number : numbers)
        list += (list.empty() ? "" : ",") + std::to_string(number);
    expect(numbers.empty() || Kestrel::parseMask(list, again) == Kestrel::meOk);
    expect(numbers == again);
    return 0;
}
