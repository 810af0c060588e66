// Adds the calls that only macOS has.
#pragma once

#include_next <pthread.h>

#include <cstdint>

extern "C" {
int pthread_main_np(void);
int pthread_threadid_np(pthread_t thread, std::uint64_t* number);
}
