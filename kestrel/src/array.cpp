#include "kestrel/array.h"

#include <linux/mempolicy.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <new>

#include "kestrel/units.h"
#include "tern/run_services.h"

#ifndef MAP_HUGE_2MB
#define MAP_HUGE_2MB (21 << 26)
#define MAP_HUGE_1GB (30 << 26)
#endif

namespace Kestrel {
namespace {

constexpr const char* nodeFolder = "/sys/devices/system/node";

bool isPageKind(std::uint32_t kind) {
    return kind >= pkSystem && kind <= pk1G;
}

std::uint32_t pageSize(std::uint32_t kind) {
    switch (kind) {
        case pk4K:
            return 4 * kibibyte;
        case pk2M:
            return 2 * mebibyte;
        case pk1G:
            return gibibyte;
        default:
            return static_cast<std::uint32_t>(sysconf(_SC_PAGESIZE));
    }
}

int mapFlags(std::uint32_t kind) {
    constexpr int fresh = MAP_PRIVATE | MAP_ANONYMOUS;
    if (kind == pk2M)
        return fresh | MAP_HUGETLB | MAP_HUGE_2MB;
    if (kind == pk1G)
        return fresh | MAP_HUGETLB | MAP_HUGE_1GB;
    return fresh;
}

constexpr std::uint32_t wordBits = sizeof(unsigned long) * CHAR_BIT;

bool hasNode(const unsigned long* mask, std::uint32_t node) {
    return (mask[node / wordBits] >> (node % wordBits) & 1) != 0;
}

bool namesANode(const unsigned long* mask, std::uint32_t maxNode) {
    for (std::uint32_t node = 0; node < maxNode; ++node)
        if (hasNode(mask, node))
            return true;
    return false;
}

/// Asks the kernel for the interleave policy. mbind takes a mask of which only some nodes have
/// memory and are allowed, and silently leaves out the others; so what it took is read back, as
/// otherwise other nodes would be measured than were asked for.
bool interleave(std::byte* base, std::uint32_t length, const unsigned long* mask,
                std::uint32_t maxNode) {
    // The kernel looks at one bit fewer than the width that it is given.
    if (syscall(SYS_mbind, base, static_cast<unsigned long>(length), MPOL_INTERLEAVE, mask,
                static_cast<unsigned long>(maxNode) + 1, MPOL_MF_STRICT) != 0)
        return false;
    constexpr std::uint32_t mostNodes = 1024;  // of any kernel's configuration
    std::array<unsigned long, mostNodes / wordBits> taken{};
    int mode = 0;
    if (syscall(SYS_get_mempolicy, &mode, taken.data(), static_cast<unsigned long>(mostNodes), base,
                static_cast<unsigned long>(MPOL_F_ADDR)) != 0)
        return true;  // where it may not be asked, mbind's word is all there is
    for (std::uint32_t node = 0; node < std::min(maxNode, mostNodes); ++node)
        if (hasNode(mask, node) && !hasNode(taken.data(), node))
            return false;
    return true;
}

}  // namespace

std::uint32_t Array::roundedLength(std::uint32_t size, std::uint32_t kind) {
    if (!isPageKind(kind))
        return 0;
    const std::uint32_t page = pageSize(kind);
    return (size + page - 1) & ~(page - 1);
}

Array::Error Array::create(std::uint32_t size, std::uint32_t kind, const unsigned long* nodeMask,
                           std::uint32_t maxNode, IArray** out) {
    if (size == 0 || !isPageKind(kind) || nodeMask == nullptr || maxNode == 0)
        return aeInvalidArgument;
    std::unique_ptr<Array> array(new (std::nothrow) Array);
    if (array == nullptr)
        return aeNoMemory;
    const Error error = array->allocate(size, kind, nodeMask, maxNode);
    if (error != aeOk)
        return error;
    *out = array.release();
    return aeOk;
}

Array::Error Array::allocate(std::uint32_t size, std::uint32_t kind, const unsigned long* nodeMask,
                             std::uint32_t maxNode) {
    if (!isPageKind(kind))
        return aeInvalidArgument;
    const std::uint32_t rounded = roundedLength(size, kind);
    void* const memory =
        mmap(nullptr, rounded, PROT_READ | PROT_WRITE, mapFlags(kind), /*fd=*/-1, /*offset=*/0);
    if (memory == MAP_FAILED)
        return aeMapFailed;
    base = static_cast<std::byte*>(memory);
    length = rounded;

    if (!namesANode(nodeMask, maxNode)) {
        release();
        return aeInvalidArgument;
    }
    // Without this folder the kernel knows no nodes, and there is nothing to place.
    if (tern_file_exists(nodeFolder) == 0)
        return aeOk;
    if (!interleave(base, length, nodeMask, maxNode)) {
        release();
        return aeBindFailed;
    }
    return aeOk;
}

Array::Error Array::release() {
    if (base != nullptr && length != 0)
        munmap(base, length);
    base = nullptr;
    length = 0;
    return aeOk;
}

Array::Error Array::destroy(IArray* array) {
    if (array == nullptr)
        return aeInvalidArgument;
    const Error error = static_cast<Array*>(array)->release();
    delete array;
    return error;
}

PatternStatus Array::run(IPattern& pattern, WorkerResult& results, const RunPhase& phase) {
    return pattern.run(base, length, results, phase);
}

}  // namespace Kestrel
