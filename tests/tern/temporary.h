/// Files, allocators and system calls made for a test.
#pragma once

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "tern/allocator.h"

/// A folder that goes with its contents at the end of the test.
class temporary_folder {
  public:
    temporary_folder() : path_(::testing::TempDir() + "/tern-XXXXXX") {
        if (!mkdtemp(path_.data()))
            std::abort();
    }
    ~temporary_folder() { std::filesystem::remove_all(path_); }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = "") const {
        return path_ + "/" + name;
    }
    [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name)) << text;
        return path(name);
    }

  private:
    std::string path_;
};

/// An allocator whose texts and blocks come dirty, so that nobody relies on zeros, and that
/// remembers which operation was asked for how much; `empty`: it has no memory.
struct recording_allocator : tern_allocator {
    bool empty = false;
    std::size_t text_bytes = 0, block_bytes = 0;

    recording_allocator() : tern_allocator{} {
        release = [](tern_allocator* /*self*/, void* memory) { std::free(memory); };
        allocate_text = [](tern_allocator* self, std::size_t bytes) {
            auto* allocator = static_cast<recording_allocator*>(self);
            return static_cast<char*>(allocator->dirty(allocator->text_bytes = bytes));
        };
        allocate_block = [](tern_allocator* self, std::size_t bytes) {
            auto* allocator = static_cast<recording_allocator*>(self);
            return allocator->dirty(allocator->block_bytes = bytes);
        };
    }

    [[nodiscard]] void* dirty(std::size_t bytes) const {
        return empty ? nullptr : std::memset(std::malloc(bytes), 0xEE, bytes);
    }
};

/// Takes a text or a table over from the layer.
template <typename T>
std::unique_ptr<T, decltype(&std::free)> owned(T* memory) {
    return {memory, &std::free};
}

/// From now on the kernel refuses a system call to this process; only for the process of a death
/// test.
inline void refuse(unsigned number) {
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0),  // seccomp_data.nr
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{.len = 4, .filter = steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        std::_Exit(99);
}
