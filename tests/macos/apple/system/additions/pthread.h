// What <pthread.h> has only on macOS. Include it after the type pthread_t is declared.
#pragma once

#include <additions/linkage.h>
#include <stdint.h>

KX_BEGIN
int pthread_main_np(void);
int pthread_threadid_np(pthread_t thread, uint64_t* number);
KX_END
