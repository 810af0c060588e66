// What <pthread.h> of macOS declares, as far as the project and the C++ library use it.
#pragma once

#include <sched.h>
#include <signal.h>
#include <time.h>

typedef struct _opaque_pthread_t* pthread_t;
typedef unsigned long pthread_key_t;
typedef struct {
    long signature;
    char rest[56];
} pthread_mutex_t, pthread_attr_t;
typedef struct {
    long signature;
    char rest[8];
} pthread_mutexattr_t, pthread_condattr_t, pthread_once_t;
typedef struct {
    long signature;
    char rest[40];
} pthread_cond_t;

#define PTHREAD_MUTEX_INITIALIZER \
    {                             \
        0x32AAABA7, {             \
            0                     \
        }                         \
    }
#define PTHREAD_COND_INITIALIZER \
    {                            \
        0x3CB0B1BB, {            \
            0                    \
        }                        \
    }
#define PTHREAD_ONCE_INIT \
    {                     \
        0x30B1BCBA, {     \
            0             \
        }                 \
    }
#define PTHREAD_MUTEX_RECURSIVE 2

KX_BEGIN
int pthread_atfork(void (*before)(void), void (*parent)(void), void (*child)(void));
int pthread_attr_init(pthread_attr_t* attributes);
int pthread_attr_destroy(pthread_attr_t* attributes);
int pthread_attr_setdetachstate(pthread_attr_t* attributes, int state);
int pthread_attr_setstacksize(pthread_attr_t* attributes, size_t size);
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument);
int pthread_detach(pthread_t thread);
int pthread_equal(pthread_t one, pthread_t other);
int pthread_join(pthread_t thread, void** result);
pthread_t pthread_self(void);
int pthread_cond_broadcast(pthread_cond_t* condition);
int pthread_cond_destroy(pthread_cond_t* condition);
int pthread_cond_signal(pthread_cond_t* condition);
int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const struct timespec* until);
int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int pthread_mutex_destroy(pthread_mutex_t* mutex);
int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int pthread_mutex_lock(pthread_mutex_t* mutex);
int pthread_mutex_trylock(pthread_mutex_t* mutex);
int pthread_mutex_unlock(pthread_mutex_t* mutex);
int pthread_mutexattr_destroy(pthread_mutexattr_t* attributes);
int pthread_mutexattr_init(pthread_mutexattr_t* attributes);
int pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int kind);
int pthread_once(pthread_once_t* control, void (*body)(void));
void* pthread_getspecific(pthread_key_t key);
int pthread_key_create(pthread_key_t* key, void (*destructor)(void*));
int pthread_setspecific(pthread_key_t key, const void* value);
KX_END

#include <additions/pthread.h>
