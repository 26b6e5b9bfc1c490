// The wrappers over the system's own objects: what a sequence of calls returns.
#include <sys/mman.h>
#include <sys/stat.h>

#include <thread>

#include "temporary.h"
#include "tern/environment.h"
#include "tern/files.h"
#include "tern/memory.h"
#include "tern/threads.h"

namespace {

using results = std::vector<std::int64_t>;

TEST(Memory, RemapMovesGrowsAndShrinks) {
    const auto remap = [](char* old, std::size_t old_size, std::size_t size) {
        return static_cast<char*>(tern_remap(old, old_size, size));
    };
    const std::string x(8192, 'x'), zeros(8192, '\0');
    char* a = remap(nullptr, 0, 8192);
    EXPECT_EQ(std::string(a, 8192), zeros);
    x.copy(a, 8192);
    EXPECT_EQ(remap(a, 8192, 0), a);
    EXPECT_EQ(remap(a, 8192, SIZE_MAX - 65536), nullptr);
    EXPECT_EQ(std::string(a, 8192), x) << "a failure leaves the old mapping";
    char* b = remap(a, 8192, 16384);
    EXPECT_EQ(std::string(b, 16384), x + zeros);
    EXPECT_EQ(msync(a, 4096, MS_ASYNC), -1) << "the old mapping is gone";
    char* c = remap(b, 16384, 4096);
    EXPECT_EQ(std::string(c, 4096), x.substr(4096));
    EXPECT_EQ((results{tern_mprotect(c, 4096, PROT_NONE), tern_mprotect(c + 1, 4096, PROT_READ),
                       tern_munmap(c, 4096), tern_mmap(0) == nullptr}),
              (results{1, 0, 0, 1}));
}

TEST(Threads, IdentityMutexSemaphore) {
    pthread_mutex_t m;
    sem_t s;
    EXPECT_EQ(tern_get_process_id(), getpid());
    EXPECT_EQ(tern_get_thread_id(), getpid()) << "the main thread's id is the process's";
    EXPECT_EQ((results{tern_mutex_init(&m), tern_mutex_lock(&m), tern_sem_init(&s, UINT32_MAX),
                       tern_sem_init(&s, 1), tern_sem_wait(&s)}),
              (results{0, 0, -1, 0, 0}));
    std::thread([&] {
        EXPECT_EQ((results{tern_mutex_trylock(&m), tern_sem_post(&s)}), (results{EBUSY, 0}));
    }).join();
    EXPECT_EQ((results{tern_sem_wait(&s), tern_mutex_unlock(&m), tern_mutex_trylock(&m),
                       tern_mutex_unlock(&m), tern_mutex_destroy(&m), tern_sem_destroy(&s)}),
              results(6));
}

TEST(Threads, KeysAreNeverZeroAndRunOut) {
    tern_tls_key_delete(0);  // so that the system hands out key 0 first
    std::vector<int> keys;
    for (int key = tern_tls_key_create(); key != -1; key = tern_tls_key_create()) {
        ASSERT_TRUE(key > 0 && keys.size() < 100'000);
        keys.push_back(key);
    }
    const int key = keys.at(0);
    EXPECT_EQ(tern_tls_set(key, &keys), 0);
    EXPECT_EQ(tern_tls_get(key), &keys);
    std::thread([&] { EXPECT_EQ(tern_tls_get(key), nullptr); }).join();
    for (int k : keys)
        EXPECT_EQ(tern_tls_key_delete(k), 0);
    EXPECT_EQ(tern_tls_key_delete(key), EINVAL);
}

TEST(Files, ResultsAndFailures) {
    char name[] = "/tmp/tern-XXXXXX", bytes[16] = "";
    tern_close(mkstemp(name));
    const auto mode = [&] {
        struct stat s {};
        stat(name, &s);
        return s.st_mode & 0777;
    };
    const mode_t old_mask = umask(027);
    EXPECT_EQ(
        (results{tern_unlink(name), tern_unlink(name), tern_open_rw(name), tern_open_append(name),
                 tern_open_read(name), tern_mkdir(name), mode(), tern_mkdir(name),
                 tern_create_file(name), tern_rmdir(name), tern_rmdir(name),
                 tern_create_file_mode("/no/file", 0), tern_fsync(-1), tern_read(-1, bytes, 1)}),
        (results{0, -1, -1, -1, -1, 1, 0750, 0, -1, 1, 0, -1, -1, -1}));
    const int fd = tern_create_file(name);
    EXPECT_EQ((results{mode(), tern_write(fd, "0123456789", 10), tern_seek(fd, 4, 0),
                       tern_seek(fd, 3, 1), tern_seek(fd, -1, 2), tern_seek(fd, 5, 7),
                       tern_seek(fd, 2, -1), tern_seek(fd, -1, 0), tern_seek(fd, 1LL << 40, 0),
                       tern_fsync(fd), tern_close(fd), tern_close(fd)}),
              (results{0640, 10, 4, 7, 9, 5, 2, -1, 1LL << 40, 0, 0, -1}));
    const int end = tern_open_append(name), both = tern_open_rw(name), input = tern_open_read(name);
    EXPECT_EQ((results{tern_write(end, "X", 1), tern_write(both, "Y", 1), tern_write(input, "Z", 1),
                       tern_read(input, bytes, 16)}),
              (results{1, 1, -1, 11}));
    EXPECT_STREQ(bytes, "Y123456789X");
    const int emptied = tern_create_file_mode(name, 0604);
    EXPECT_EQ((results{mode(), tern_read(input, bytes, 1), tern_unlink(name)}),
              (results{0604, 0, 0}));
    umask(old_mask);
    sigset_t none;
    sigemptyset(&none);
    const int signals = tern_signalfd(-1, &none, 0);
    EXPECT_EQ((results{tern_signalfd(signals, &none, 0), tern_signalfd(-1, &none, -1)}),
              (results{signals, -1}));
    for (int open : {end, both, input, emptied, signals})
        EXPECT_EQ(tern_close(open), 0);
}

TEST(Environment, VariablesAndCopies) {
    EXPECT_EQ((results{tern_setenv("TERN_TEST", "one"), tern_setenv("TERN_TEST", "two"),
                       tern_setenv(nullptr, "x"), tern_setenv("A=B", "x")}),
              (results{1, 1, 0, 0}));
    EXPECT_STREQ(owned(tern_getenv("TERN_TEST")).get(), "two");
    EXPECT_EQ(tern_setenv("TERN_TEST", nullptr), 1);
    EXPECT_EQ(tern_getenv("TERN_TEST"), nullptr);

    char host[4096], bytes[6] = "#####", *copy = bytes;
    EXPECT_EQ(tern_strdup_with("", &copy, &watched), 0);
    EXPECT_EQ(copy, bytes);
    EXPECT_EQ(tern_strdup_with("text", &copy, &watched), 1);
    EXPECT_STREQ(owned(copy).get(), "text");
    gethostname(host, sizeof host);
    EXPECT_STREQ(owned(tern_get_host_name(&watched)).get(), host);
    EXPECT_EQ(text_bytes, 5u);
    EXPECT_EQ(block_bytes, 4096u);
    no_memory = true;
    EXPECT_EQ(tern_strdup_with("text", &copy, &watched), 0);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(tern_get_host_name(&watched), nullptr);
    no_memory = false;
    EXPECT_EQ(
        (results{tern_strcpy_bounded(nullptr, bytes, 5), tern_strcpy_bounded("abcd", bytes, 2),
                 tern_strcpy_bounded("x", bytes + 2, 2)}),
        (results{0, 1, 1}));
    EXPECT_EQ(std::string(bytes, 6), std::string("abx\0#\0", 6));
}

}  // namespace
