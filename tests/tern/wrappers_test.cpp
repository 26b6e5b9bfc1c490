// The wrappers over the system's own objects: what they add to its calls, or promise of them.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/signalfd.h>
#include <sys/stat.h>

#include <thread>

#include "temporary.h"
#include "tern/tern.h"

namespace {

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
    EXPECT_EQ(tern_mprotect(c, 1, PROT_NONE), 1);
    EXPECT_EQ(tern_mprotect(c + 1, 1, PROT_NONE), 0);
    EXPECT_EQ(tern_munmap(c, 4096), 0);
    EXPECT_EQ(tern_mmap(0), nullptr);
}

TEST(Threads, KeysAreNeverZeroAndRunOut) {
    tern_tls_key_delete(0);  // so that the system hands out key 0 first
    std::vector<int> keys;
    for (int key = tern_tls_key_create(); key != -1; key = tern_tls_key_create()) {
        ASSERT_TRUE(key > 0 && keys.size() < 100'000);
        keys.push_back(key);
    }
    EXPECT_EQ(tern_tls_set(keys.at(0), &keys), 0);
    EXPECT_EQ(tern_tls_get(keys[0]), &keys);
    std::thread([&] { EXPECT_EQ(tern_tls_get(keys[0]), nullptr); }).join();
    for (int key : keys)
        EXPECT_EQ(tern_tls_key_delete(key), 0);
}

TEST(Threads, OwnIdsAndASemaphoresValue) {
    EXPECT_EQ(tern_get_process_id(), getpid());
    std::thread([] { EXPECT_EQ(tern_get_thread_id(), gettid()); }).join();
    sem_t semaphore;
    int value = 0;
    EXPECT_EQ(tern_sem_init(&semaphore, 7), 0);
    EXPECT_EQ(sem_getvalue(&semaphore, &value), 0);
    EXPECT_EQ(value, 7);
}

TEST(Files, OpenMakeAndRemove) {
    const std::string folder = temporary_folder(), path = folder + "/file";
    const char* file = path.c_str();
    const auto mode = [&] {
        struct stat status {};
        return stat(file, &status) == 0 ? status.st_mode & 0777 : 0;
    };
    umask(027);
    for (const auto open : {tern_open_rw, tern_open_append, tern_open_read})
        EXPECT_EQ(open(file), -1) << "none of them makes a file";
    EXPECT_EQ(tern_mkdir(file), 1);
    EXPECT_EQ(mode(), 0750u);
    EXPECT_EQ(tern_mkdir(file), 0);
    EXPECT_EQ(tern_create_file_mode(file, 0700), -1);
    EXPECT_EQ(mode(), 0700u) << "changed all the same";
    EXPECT_EQ(tern_rmdir(file), 1);
    EXPECT_EQ(tern_rmdir(file), 0);

    const int made = tern_create_file(file), end = tern_open_append(file);
    const int both = tern_open_rw(file), input = tern_open_read(file);
    EXPECT_EQ(mode(), 0640u);
    EXPECT_EQ(tern_write(made, "0123456789", 10), 10);
    EXPECT_EQ(tern_write(end, "X", 1), 1);
    EXPECT_EQ(tern_write(both, "Y", 1), 1);
    EXPECT_EQ(tern_write(input, "", 1), -1);
    char bytes[16] = "";
    EXPECT_EQ(tern_read(input, bytes, 16), 11);
    EXPECT_STREQ(bytes, "Y123456789X");
    const std::vector<std::int64_t> offsets{tern_seek(made, 4, 0),  tern_seek(made, 3, 1),
                                            tern_seek(made, -1, 2), tern_seek(made, 5, 7),
                                            tern_seek(made, -1, 0), tern_seek(made, 1LL << 40, 0)};
    EXPECT_EQ(offsets, (std::vector<std::int64_t>{4, 7, 10, 5, -1, 1LL << 40}));
    const int emptied = tern_create_file_mode(file, 0604);
    EXPECT_EQ(mode(), 0604u);
    EXPECT_EQ(tern_seek(input, 0, 2), 0);
    for (const int open : {made, end, both, input, emptied})
        EXPECT_EQ(tern_close(open), 0);
    EXPECT_EQ(tern_unlink(file), 0);
    EXPECT_EQ(tern_rmdir(folder.c_str()), 1);
}

TEST(Files, SignalDescriptor) {
    sigset_t none;
    sigemptyset(&none);
    const int signals = tern_signalfd(-1, &none, SFD_CLOEXEC);
    EXPECT_EQ(tern_signalfd(signals, &none, 0), signals);
    EXPECT_EQ(fcntl(signals, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(tern_close(signals), 0);
}

TEST(Environment, Variables) {
    EXPECT_EQ(tern_setenv("TERN", "one"), 1);
    EXPECT_EQ(tern_setenv("TERN", "two"), 1);
    EXPECT_STREQ(owned(tern_getenv("TERN")).get(), "two");
    EXPECT_EQ(tern_setenv(nullptr, "x"), 0);
    EXPECT_EQ(tern_setenv("A=B", "x"), 0);
    EXPECT_EQ(tern_setenv("TERN", nullptr), 1);
    EXPECT_EQ(tern_getenv("TERN"), nullptr);
}

TEST(Environment, CopiesAndTheHostsName) {
    char host[4096], bytes[6] = "#####", *copy = bytes;
    EXPECT_EQ(tern_strdup_with("", &copy, &watched), 0);
    EXPECT_EQ(copy, bytes);
    EXPECT_EQ(tern_strdup_with("text", &copy, &watched), 1);
    EXPECT_STREQ(owned(copy).get(), "text");
    gethostname(host, sizeof host);
    EXPECT_STREQ(owned(tern_get_host_name(&watched)).get(), host);
    EXPECT_EQ(asked_bytes, 4096u);
    no_memory = true;
    EXPECT_EQ(tern_strdup_with("text", &copy, &watched), 0);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(tern_get_host_name(&watched), nullptr);
    EXPECT_EQ(tern_get_hypervisor_name(&watched), nullptr);
    no_memory = false;
    EXPECT_EQ(tern_strcpy_bounded(nullptr, bytes, 5), 0);
    EXPECT_EQ(tern_strcpy_bounded("abcd", bytes, 2), 1);
    EXPECT_EQ(tern_strcpy_bounded("x", bytes + 2, 2), 1);
    EXPECT_EQ(std::string(bytes, 6), std::string("abx\0#\0", 6));
}

}  // namespace
