// Preloaded into the program: makes one call of one function fail, as FAULT="function:n" asks (n
// from 1). The wall clock is read thousands of times, so there n counts the threads that read it.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,bugprone-macro-parentheses): the
// names of the C library's own declarations are reserved ones; declarators take no parentheses.
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

/// n where FAULT names that function, else 0.
unsigned wanted(const char* function) {
    const char* const fault = std::getenv("FAULT");
    const std::size_t length = std::strlen(function);
    if (fault == nullptr || std::strncmp(fault, function, length) != 0 || fault[length] != ':')
        return 0;
    return static_cast<unsigned>(std::strtoul(fault + length + 1, nullptr, 10));
}

/// Only the function that FAULT names is counted.
bool failsNow(const char* function, int error) {
    static std::atomic<unsigned> calls = 0;
    const unsigned call = wanted(function);
    if (call == 0 || ++calls != call)
        return false;
    errno = error;
    return true;
}

}  // namespace

/// Defines a function that fails with `error` when it is its turn, else calls the next of its name.
#define MAY_FAIL(result, name, parameters, arguments, error, failure)                   \
    extern "C" [[gnu::visibility("default")]] result name parameters noexcept {         \
        const auto next = reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name)); \
        return failsNow(#name, error) ? (failure) : next arguments;                     \
    }
MAY_FAIL(void*, mmap,
         (void* address, size_t length, int protection, int flags, int fd, off_t offset),
         (address, length, protection, flags, fd, offset), ENOMEM, MAP_FAILED)
// As on a kernel without NUMA support, whose folder this program looks for.
MAY_FAIL(int, access, (const char* path, int mode), (path, mode), ENOENT, -1)
MAY_FAIL(int, sched_setaffinity, (pid_t thread, size_t size, const cpu_set_t* set),
         (thread, size, set), EINVAL, -1)
MAY_FAIL(int, pthread_create,
         (pthread_t * thread, const pthread_attr_t* attributes, void* (*body)(void*),
          void* argument),
         (thread, attributes, body, argument), EAGAIN, EAGAIN)

/// The C library's own, by the name under which it can be reached without asking the loader, which
/// allocates itself.
extern "C" void* __libc_malloc(size_t size);

extern "C" [[gnu::visibility("default")]] void* malloc(size_t size) noexcept {
    return failsNow("malloc", ENOMEM) ? nullptr : __libc_malloc(size);
}

extern "C" [[gnu::visibility("default")]] int gettimeofday(timeval* now, void* zone) noexcept {
    static std::atomic<unsigned> threads = 0;
    thread_local const unsigned ordinal = ++threads;
    if (wanted("gettimeofday") == ordinal)
        return -1;
    return reinterpret_cast<decltype(&gettimeofday)>(dlsym(RTLD_NEXT, "gettimeofday"))(now, zone);
}

/// Stands for syscall, whose arguments are passed alike whether they are variable or not.
extern "C" [[gnu::visibility("default")]] long anySystemCall(long number, long a, long b, long c,
                                                             long d, long e, long f) noexcept
    asm("syscall");

long anySystemCall(long number, long a, long b, long c, long d, long e, long f) noexcept {
    if (number == SYS_mbind && failsNow("mbind", EPERM))
        return -1;
    return reinterpret_cast<decltype(&syscall)>(dlsym(RTLD_NEXT, "syscall"))(number, a, b, c, d, e,
                                                                             f);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name,bugprone-macro-parentheses)
