// Preloaded into the program: makes one call of one function fail, as FAULT="function:n" asks (n
// from 1). The wall clock is read thousands of times, so there n counts the threads that read it.
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace {

unsigned wanted(const char* function) {
    const char* const fault = std::getenv("FAULT");
    const std::size_t length = std::strlen(function);
    if (fault == nullptr || std::strncmp(fault, function, length) != 0 || fault[length] != ':')
        return 0;
    return static_cast<unsigned>(std::strtoul(fault + length + 1, nullptr, 10));
}

/// Each of these functions keeps its own count: F makes one instance for each.
template <class F>
bool failsNow(const char* function, F /*one*/) {
    static std::atomic<unsigned> calls = 0;
    return wanted(function) == ++calls;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

[[gnu::visibility("default")]] void* mmap(void* address, size_t length, int protection, int flags,
                                          int fd, off_t offset) noexcept {
    if (failsNow("mmap", [] {})) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return next<decltype(mmap)>("mmap")(address, length, protection, flags, fd, offset);
}

[[gnu::visibility("default")]] int sched_setaffinity(pid_t thread, size_t size,
                                                     const cpu_set_t* set) noexcept {
    if (failsNow("sched_setaffinity", [] {})) {
        errno = EINVAL;
        return -1;
    }
    return next<decltype(sched_setaffinity)>("sched_setaffinity")(thread, size, set);
}

[[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                  const pthread_attr_t* attributes,
                                                  void* (*body)(void*), void* argument) noexcept {
    if (failsNow("pthread_create", [] {}))
        return EAGAIN;
    return next<decltype(pthread_create)>("pthread_create")(thread, attributes, body, argument);
}

[[gnu::visibility("default")]] int gettimeofday(timeval* now, void* zone) noexcept {
    static std::atomic<unsigned> threads = 0;
    thread_local const unsigned ordinal = ++threads;
    if (wanted("gettimeofday") == ordinal) {
        errno = EFAULT;
        return -1;
    }
    return next<decltype(gettimeofday)>("gettimeofday")(now, zone);
}

[[gnu::visibility("default")]] long syscall(long number, ...) noexcept {
    if (number == SYS_mbind && failsNow("mbind", [] {})) {
        errno = EPERM;
        return -1;
    }
    va_list list;
    va_start(list, number);
    long a[6];
    for (long& argument : a)
        argument = va_arg(list, long);
    va_end(list);
    return next<decltype(syscall)>("syscall")(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

}  // extern "C"
