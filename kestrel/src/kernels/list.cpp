// A walk through a linked list: one dependent load a node, and nothing else in the chain.
#include "bracket.h"
#include "kestrel/kernels.h"
#include "registers.h"

std::uint64_t kestrel___list(const std::byte* head, std::uint32_t count) {
    using namespace Kestrel;
    return timed([=] {
        // Each load's address is the word that the one before has read. The last word is read, the
        // node that it points to is not. The counting runs beside the loads and costs nothing.
        const std::byte* node = head;
        for (std::uint32_t i = count; i != 0; --i)
            asm volatile("mov %1, %0" : "=r"(node) : "m"(source<sizeof node>(node)));
    });
}
