// The wrappers over the system's own objects: results, failures, and what is the layer's own.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <thread>

#include "temporary.h"
#include "tern/environment.h"
#include "tern/files.h"
#include "tern/memory.h"
#include "tern/threads.h"

namespace {

TEST(Memory, RemapMovesGrowsAndShrinks) {
    auto* a = static_cast<unsigned char*>(tern_remap(nullptr, 0, 8192));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(std::count(a, a + 8192, 0), 8192);
    std::fill(a, a + 8192, 7);
    EXPECT_EQ(tern_remap(a, 8192, 0), a);
    EXPECT_EQ(tern_remap(a, 8192, SIZE_MAX - 65536), nullptr);
    EXPECT_EQ(a[8191], 7) << "a remap that fails leaves the old mapping";
    auto* b = static_cast<unsigned char*>(tern_remap(a, 8192, 12288));
    EXPECT_EQ(std::count(b, b + 8192, 7), 8192);
    EXPECT_EQ(std::count(b + 8192, b + 12288, 0), 4096);
    EXPECT_EQ(msync(a, 4096, MS_ASYNC), -1) << "the old mapping is gone";
    auto* c = static_cast<unsigned char*>(tern_remap(b, 12288, 4096));
    EXPECT_EQ(std::count(c, c + 4096, 7), 4096);
    EXPECT_EQ(tern_mprotect(c, 4096, PROT_NONE), 1);
    EXPECT_EQ(tern_mprotect(c + 1, 4096, PROT_READ), 0);
    EXPECT_EQ(tern_munmap(c, 4096), 0);
    EXPECT_EQ(tern_mmap(0), nullptr);
    EXPECT_EQ(tern_get_page_size(), sysconf(_SC_PAGESIZE));
}

TEST(Threads, IdentityMutexSemaphore) {
    EXPECT_EQ(tern_get_process_id(), getpid());
    EXPECT_EQ(tern_get_thread_id(), getpid()) << "the main thread's id is the process's";
    pthread_mutex_t mutex;
    sem_t semaphore;
    EXPECT_EQ(tern_mutex_init(&mutex), 0);
    EXPECT_EQ(tern_sem_init(&semaphore, UINT32_MAX), -1);
    EXPECT_EQ(tern_sem_init(&semaphore, 1), 0);
    EXPECT_EQ(tern_sem_wait(&semaphore), 0);
    EXPECT_EQ(tern_mutex_lock(&mutex), 0);
    std::thread([&] {
        EXPECT_NE(tern_get_thread_id(), getpid());
        EXPECT_EQ(tern_mutex_trylock(&mutex), EBUSY);
        EXPECT_EQ(tern_sem_post(&semaphore), 0);
    }).join();
    EXPECT_EQ(tern_sem_wait(&semaphore), 0);
    EXPECT_EQ(tern_mutex_unlock(&mutex), 0);
    EXPECT_EQ(tern_mutex_trylock(&mutex), 0);
    EXPECT_EQ(tern_mutex_unlock(&mutex), 0);
    EXPECT_EQ(tern_mutex_destroy(&mutex), 0);
    EXPECT_EQ(tern_sem_destroy(&semaphore), 0);
}

TEST(Threads, KeysAreNeverZeroAndRunOut) {
    tern_tls_key_delete(0);  // so that the system hands out key 0 first
    std::vector<int> keys;
    for (int key = tern_tls_key_create(); key != -1; key = tern_tls_key_create()) {
        ASSERT_GT(key, 0);
        ASSERT_LT(keys.size(), 100'000u);
        keys.push_back(key);
    }
    ASSERT_FALSE(keys.empty());
    int value = 0;
    EXPECT_EQ(tern_tls_get(keys[0]), nullptr);
    EXPECT_EQ(tern_tls_set(keys[0], &value), 0);
    EXPECT_EQ(tern_tls_get(keys[0]), &value);
    std::thread([&] { EXPECT_EQ(tern_tls_get(keys[0]), nullptr); }).join();
    for (int key : keys)
        EXPECT_EQ(tern_tls_key_delete(key), 0);
    EXPECT_EQ(tern_tls_key_delete(keys[0]), EINVAL);
    EXPECT_EQ(tern_tls_set(keys[0], &value), EINVAL);
}

TEST(Files, ResultsAndFailures) {
    const temporary_folder folder;
    const std::string file = folder.path("file"), absent = folder.path("absent");
    const mode_t old_mask = umask(027);
    const int fd = tern_create_file(file.c_str());
    const auto mode = [&](const std::string& path) {
        struct stat s;
        return stat(path.c_str(), &s) == 0 ? s.st_mode & 0777 : 0;
    };
    EXPECT_EQ(mode(file), 0640u);
    EXPECT_EQ(tern_write(fd, "0123456789", 10), 10);
    const struct {
        std::int64_t offset;
        int origin;
        std::int64_t result;
    } seeks[] = {
        {4, 0, 4},  {3, 1, 7},   {-1, 2, 9}, {5, 7, 5},
        {2, -1, 2}, {-1, 0, -1}, {0, 1, 2},  {std::int64_t{1} << 40, 0, std::int64_t{1} << 40}};
    for (const auto& s : seeks)
        EXPECT_EQ(tern_seek(fd, s.offset, s.origin), s.result) << s.offset << ' ' << s.origin;
    EXPECT_EQ(tern_fsync(fd), 0);
    EXPECT_EQ(tern_close(fd), 0);
    EXPECT_EQ(tern_close(fd), -1);

    char bytes[16] = "";
    const int append = tern_open_append(file.c_str());
    EXPECT_EQ(tern_write(append, "X", 1), 1);
    EXPECT_EQ(tern_close(append), 0);
    const int both = tern_open_rw(file.c_str());
    EXPECT_EQ(tern_write(both, "Y", 1), 1);
    EXPECT_EQ(tern_seek(both, 0, 0), 0);
    EXPECT_EQ(tern_read(both, bytes, sizeof bytes), 11);
    EXPECT_EQ(std::string(bytes), "Y123456789X");
    EXPECT_EQ(tern_close(both), 0);
    const int input = tern_open_read(file.c_str());
    EXPECT_EQ(tern_write(input, "Z", 1), -1);
    EXPECT_EQ(tern_close(input), 0);
    const int emptied = tern_create_file_mode(file.c_str(), 0604);
    EXPECT_EQ(mode(file), 0604u);
    EXPECT_EQ(tern_read(emptied, bytes, 1), 0);
    EXPECT_EQ(tern_close(emptied), 0);

    for (auto* open : {tern_open_read, tern_open_rw, tern_open_append})
        EXPECT_EQ(open(absent.c_str()), -1);
    EXPECT_EQ(tern_create_file((absent + "/x").c_str()), -1);
    EXPECT_EQ(tern_create_file_mode((absent + "/x").c_str(), 0600), -1);
    EXPECT_EQ(tern_mkdir(absent.c_str()), 1);
    EXPECT_EQ(mode(absent), 0750u);
    EXPECT_EQ(tern_mkdir(absent.c_str()), 0);
    EXPECT_EQ(tern_rmdir(absent.c_str()), 1);
    EXPECT_EQ(tern_rmdir(absent.c_str()), 0);
    EXPECT_EQ(tern_unlink(file.c_str()), 0);
    EXPECT_EQ(tern_unlink(file.c_str()), -1);
    EXPECT_EQ(tern_fsync(-1), -1);
    EXPECT_EQ(tern_read(-1, bytes, 1), -1);
    umask(old_mask);

    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    const int descriptor = tern_signalfd(-1, &signals, 0);
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(tern_signalfd(descriptor, &signals, 0), descriptor);
    EXPECT_EQ(tern_signalfd(-1, &signals, -1), -1);
    EXPECT_EQ(tern_close(descriptor), 0);
}

TEST(Environment, VariablesAndCopies) {
    EXPECT_EQ(tern_setenv("TERN_TEST", "one"), 1);
    EXPECT_EQ(tern_setenv("TERN_TEST", "two"), 1);
    EXPECT_STREQ(owned(tern_getenv("TERN_TEST")).get(), "two");
    EXPECT_EQ(tern_setenv("TERN_TEST", nullptr), 1);
    EXPECT_EQ(tern_getenv("TERN_TEST"), nullptr);
    EXPECT_EQ(tern_setenv(nullptr, "x"), 0);
    EXPECT_EQ(tern_setenv("A=B", "x"), 0);

    recording_allocator allocator;
    char* copy = nullptr;
    EXPECT_EQ(tern_strdup_with("", &copy, &allocator), 0);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(tern_strdup_with("text", &copy, &allocator), 1);
    EXPECT_STREQ(owned(copy).get(), "text");
    EXPECT_EQ(allocator.text_bytes, 5u);
    std::string host(4096, '\0');
    gethostname(host.data(), host.size());
    EXPECT_STREQ(owned(tern_get_host_name(&allocator)).get(), host.c_str());
    EXPECT_EQ(allocator.block_bytes, 4096u);
    allocator.empty = true;
    EXPECT_EQ(tern_strdup_with("text", &copy, &allocator), 0);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(tern_get_host_name(&allocator), nullptr);

    char bytes[5] = "####";
    EXPECT_EQ(tern_strcpy_bounded(nullptr, bytes, 4), 0);
    EXPECT_EQ(tern_strcpy_bounded("abcdef", bytes, 3), 1);
    EXPECT_STREQ(bytes, "abc#");
    EXPECT_EQ(tern_strcpy_bounded("x", bytes, 4), 1);
    EXPECT_EQ(std::string(bytes, 5), std::string("x\0\0\0\0", 5));
}

}  // namespace
