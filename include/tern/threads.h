/// Thread identity, mutexes, semaphores and thread-local keys: the system's own objects and results
/// behind one calling convention. A status is what the underlying call returned, 0 for success.
/// Each is as thread-safe as the call it wraps.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <cstdint>

extern "C" {

/// Returns the kernel's id of the calling thread (the gettid system call, issued by number).
long tern_get_thread_id();

/// Returns the process id (the getpid system call, issued by number).
long tern_get_process_id();

/// Default attributes: not recursive. The caller owns the mutex. Status.
int tern_mutex_init(pthread_mutex_t* mutex);
int tern_mutex_destroy(pthread_mutex_t* mutex);
int tern_mutex_lock(pthread_mutex_t* mutex);
int tern_mutex_unlock(pthread_mutex_t* mutex);
/// EBUSY when another holds it.
int tern_mutex_trylock(pthread_mutex_t* mutex);

/// Shared among the threads of this process only. The caller owns the semaphore. Status: 0, or -1
/// with errno set.
int tern_sem_init(sem_t* semaphore, std::uint32_t value);
int tern_sem_destroy(sem_t* semaphore);
/// Not retried when a signal interrupts it.
int tern_sem_wait(sem_t* semaphore);
int tern_sem_post(sem_t* semaphore);

/// Returns a new thread-local key without destructor, never 0, so that 0 can mean "no key"; -1 when
/// the system has no more.
int tern_tls_key_create();
/// Status.
int tern_tls_key_delete(int key);
/// The calling thread's value, null until it is set.
void* tern_tls_get(int key);
/// Status.
int tern_tls_set(int key, const void* value);

}  // extern "C"
