// A walk through a linked list: one dependent load a node, and nothing else in the chain.
#include "bracket.h"
#include "kestrel/kernels.h"

std::uint64_t kestrel___list(const std::byte* head, std::uint32_t count) {
    return Kestrel::timed([=]() mutable {
        // Each load's address is the word that the one before has read. The last node's word is
        // read, the node that it points to is not. The count goes down while the loads are waited
        // for, and costs nothing.
        asm volatile("1: mov (%[node]), %[node]; dec %[count]; jnz 1b"
                     : [node] "+r"(head), [count] "+r"(count)
                     :
                     : "cc", "memory");
    });
}
