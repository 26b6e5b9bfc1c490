/// Texts as files, folders, a watched allocator, refused system calls, and reports that end a
/// process.
#pragma once

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "tern/allocator.h"
#include "text_file.h"

/// An empty folder, which its user removes.
inline std::string temporary_folder() {
    char folder[] = "/dev/shm/tern-XXXXXX";
    return mkdtemp(folder);
}

inline bool no_memory = false;       ///< the allocator below gives null
inline std::size_t asked_bytes = 0;  ///< what it was last asked for

/// Its memory comes dirty, so that nobody relies on zeros.
inline void* allocate(tern_allocator* /*self*/, std::size_t n) {
    asked_bytes = n;
    return no_memory ? nullptr : std::memset(std::malloc(n), 0xEE, n);
}
inline tern_allocator watched{
    [](tern_allocator* /*self*/, void* memory) { std::free(memory); },
    [](tern_allocator* self, std::size_t n) { return static_cast<char*>(allocate(self, n)); },
    allocate};

/// Takes a text or a table over from the layer.
template <typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T* memory) {
    return {memory, &std::free};
}

/// For the process of a death test: from now on there is no memory. True.
inline bool lose_memory() {
    return no_memory = true;
}

/// The same: the kernel refuses a system call. True.
inline bool refuse(unsigned number) {
    sock_filter steps[] = {{BPF_LD | BPF_W | BPF_ABS, 0, 0, 0},  // the call's number
                           {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, number},
                           {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM},
                           {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    const sock_fprog program{.len = 4, .filter = steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        std::_Exit(99);
    return true;
}

template <typename Condition>
void expect_in_child(Condition holds) {
    EXPECT_EXIT(std::_Exit(holds() ? 0 : 1), testing::ExitedWithCode(0), "");
}

const inline testing::KilledBySignal killed(SIGABRT);

/// `fault` ends the process with the report of this check and no other; its line moves with the
/// source.
template <typename Fault>
void expect_report(Fault fault, const std::string& function, const std::string& condition,
                   const std::string& half = "tern/src/linux/tern") {
    EXPECT_EXIT(
        fault(), killed,
        "^" + half + ":[0-9]+ " + function + ": Assertion '" + condition + "' failed\\.\n\n$");
}
