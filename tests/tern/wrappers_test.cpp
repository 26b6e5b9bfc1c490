// The wrappers over the system's own objects.
#include <sys/mman.h>
#include <sys/stat.h>

#include <thread>

#include "temporary.h"
#include "tern/environment.h"
#include "tern/files.h"
#include "tern/memory.h"
#include "tern/os_info.h"
#include "tern/threads.h"

namespace {

/// What a sequence of calls returned, and what it had to.
void same(const std::vector<std::int64_t>& actual, const std::vector<std::int64_t>& expected) {
    EXPECT_EQ(actual, expected);
}

TEST(Memory, RemapMovesGrowsAndShrinks) {
    const auto remap = [](char* old, std::size_t old_size, std::size_t size) {
        return static_cast<char*>(tern_remap(old, old_size, size));
    };
    const std::string x(8192, 'x'), zeros(8192, '\0');
    char* a = remap(nullptr, 0, 8192);
    EXPECT_EQ(std::string(a, 8192), zeros);
    x.copy(a, 8192);
    same({remap(a, 8192, 0) == a, remap(a, 8192, SIZE_MAX - 65536) == nullptr}, {1, 1});
    EXPECT_EQ(std::string(a, 8192), x) << "a failure leaves the old mapping";
    char* b = remap(a, 8192, 16384);
    EXPECT_EQ(std::string(b, 16384), x + zeros);
    EXPECT_EQ(msync(a, 4096, MS_ASYNC), -1) << "the old mapping is gone";
    char* c = remap(b, 16384, 4096);
    EXPECT_EQ(std::string(c, 4096), x.substr(4096));
    same({tern_mprotect(c, 1, PROT_NONE), tern_mprotect(c + 1, 1, PROT_NONE)}, {1, 0});
    same({tern_munmap(c, 4096), tern_mmap(0) == nullptr}, {0, 1});
    EXPECT_EQ(tern_get_page_size(), getpagesize());
}

TEST(Threads, IdentityMutexSemaphore) {
    pthread_mutex_t m;
    sem_t s;
    same({tern_get_process_id(), tern_get_thread_id()}, {getpid(), getpid()});
    same({tern_sem_init(&s, UINT32_MAX), tern_sem_init(&s, 1), tern_sem_wait(&s)}, {-1, 0, 0});
    same({tern_mutex_init(&m), tern_mutex_lock(&m)}, {0, 0});
    std::thread([&] { same({tern_mutex_trylock(&m), tern_sem_post(&s)}, {EBUSY, 0}); }).join();
    same({tern_sem_wait(&s), tern_sem_destroy(&s)}, {0, 0});
    same({tern_mutex_unlock(&m), tern_mutex_trylock(&m), tern_mutex_unlock(&m)}, {0, 0, 0});
}

TEST(Threads, KeysAreNeverZeroAndRunOut) {
    tern_tls_key_delete(0);  // so that the system hands out key 0 first
    std::vector<int> keys;
    for (int key = tern_tls_key_create(); key != -1; key = tern_tls_key_create()) {
        ASSERT_TRUE(key > 0 && keys.size() < 100'000);
        keys.push_back(key);
    }
    const int key = keys.at(0);
    same({tern_tls_set(key, &keys), tern_tls_get(key) == &keys}, {0, 1});
    std::thread([&] { EXPECT_EQ(tern_tls_get(key), nullptr); }).join();
    for (int k : keys)
        same({tern_tls_key_delete(k), tern_tls_key_delete(k)}, {0, EINVAL});
}

TEST(Files, ResultsAndFailures) {
    char file[] = "/tmp/tern-XXXXXX", bytes[16] = "";
    tern_close(mkstemp(file));
    umask(027);
    const auto mode = [&] {
        struct stat s {};
        return stat(file, &s) == 0 ? s.st_mode & 0777 : 0;
    };
    same({tern_unlink(file), tern_unlink(file)}, {0, -1});
    same({tern_open_rw(file), tern_open_append(file), tern_open_read(file)}, {-1, -1, -1});
    same({tern_mkdir(file), mode(), tern_mkdir(file), tern_create_file(file)}, {1, 0750, 0, -1});
    same({tern_rmdir(file), tern_rmdir(file), tern_create_file_mode("/no/file", 0)}, {1, 0, -1});
    const int fd = tern_create_file(file);
    same({mode(), tern_write(fd, "0123456789", 10)}, {0640, 10});
    same({tern_seek(fd, 4, 0), tern_seek(fd, 3, 1), tern_seek(fd, -1, 2)}, {4, 7, 9});
    same({tern_seek(fd, 5, 7), tern_seek(fd, 2, -1), tern_seek(fd, -1, 0)}, {5, 2, -1});
    same({tern_seek(fd, 1LL << 40, 0), tern_fsync(fd), tern_fsync(-1)}, {1LL << 40, 0, -1});
    const int end = tern_open_append(file), both = tern_open_rw(file), input = tern_open_read(file);
    same({tern_write(end, "X", 1), tern_write(both, "Y", 1), tern_write(input, "", 1)}, {1, 1, -1});
    same({tern_read(input, bytes, 16), tern_read(end, bytes, 1), tern_read(-1, bytes, 1)},
         {11, 0, -1});
    EXPECT_STREQ(bytes, "Y123456789X");
    const int emptied = tern_create_file_mode(file, 0604);
    same({mode(), tern_seek(input, 0, 2), tern_unlink(file)}, {0604, 0, 0});
    sigset_t none;
    sigemptyset(&none);
    const int signals = tern_signalfd(-1, &none, 0);
    same({tern_signalfd(signals, &none, 0), tern_signalfd(-1, &none, -1)}, {signals, -1});
    for (int open : {fd, end, both, input, emptied, signals})
        same({tern_close(open), tern_close(open)}, {0, -1});
}

TEST(Environment, VariablesAndCopies) {
    same({tern_setenv("TERN", "one"), tern_setenv("TERN", "two")}, {1, 1});
    same({tern_setenv(nullptr, "x"), tern_setenv("A=B", "x")}, {0, 0});
    EXPECT_STREQ(owned(tern_getenv("TERN")).get(), "two");
    same({tern_setenv("TERN", nullptr), tern_getenv("TERN") == nullptr}, {1, 1});
    char host[4096], bytes[6] = "#####", *copy = bytes;
    same({tern_strdup_with("", &copy, &watched), copy == bytes}, {0, 1});
    EXPECT_EQ(tern_strdup_with("text", &copy, &watched), 1);
    EXPECT_STREQ(owned(copy).get(), "text");
    gethostname(host, sizeof host);
    EXPECT_STREQ(owned(tern_get_host_name(&watched)).get(), host);
    EXPECT_TRUE(text_bytes == 5 && block_bytes == 4096);
    no_memory = true;
    same({tern_strdup_with("text", &copy, &watched), copy == nullptr}, {0, 1});
    EXPECT_TRUE(!tern_get_host_name(&watched) && !tern_get_hypervisor_name(&watched));
    no_memory = false;
    same({tern_strcpy_bounded(nullptr, bytes, 5), tern_strcpy_bounded("abcd", bytes, 2)}, {0, 1});
    EXPECT_EQ(tern_strcpy_bounded("x", bytes + 2, 2), 1);
    EXPECT_EQ(std::string(bytes, 6), std::string("abx\0#\0", 6));
}

}  // namespace
