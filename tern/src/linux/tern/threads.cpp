#include "tern/threads.h"

#include <sys/syscall.h>
#include <unistd.h>

long tern_get_thread_id() {
    return syscall(SYS_gettid);
}

long tern_get_process_id() {
    return syscall(SYS_getpid);
}

int tern_mutex_init(pthread_mutex_t* mutex) {
    return pthread_mutex_init(mutex, nullptr);
}

int tern_mutex_destroy(pthread_mutex_t* mutex) {
    return pthread_mutex_destroy(mutex);
}

int tern_mutex_lock(pthread_mutex_t* mutex) {
    return pthread_mutex_lock(mutex);
}

int tern_mutex_unlock(pthread_mutex_t* mutex) {
    return pthread_mutex_unlock(mutex);
}

int tern_mutex_trylock(pthread_mutex_t* mutex) {
    return pthread_mutex_trylock(mutex);
}

int tern_sem_init(sem_t* semaphore, std::uint32_t value) {
    return sem_init(semaphore, 0, value);
}

int tern_sem_destroy(sem_t* semaphore) {
    return sem_destroy(semaphore);
}

int tern_sem_wait(sem_t* semaphore) {
    return sem_wait(semaphore);
}

int tern_sem_post(sem_t* semaphore) {
    return sem_post(semaphore);
}

int tern_tls_key_create() {
    pthread_key_t key = 0;
    do {
        if (pthread_key_create(&key, nullptr) != 0)
            return -1;
    } while (key == 0);  // key 0 stays taken, so that the next one differs
    return static_cast<int>(key);
}

int tern_tls_key_delete(int key) {
    return pthread_key_delete(static_cast<pthread_key_t>(key));
}

void* tern_tls_get(int key) {
    return pthread_getspecific(static_cast<pthread_key_t>(key));
}

int tern_tls_set(int key, const void* value) {
    return pthread_setspecific(static_cast<pthread_key_t>(key), value);
}
