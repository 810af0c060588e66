// What <time.h> of macOS declares, as far as the project and the C++ library use it.
#pragma once

#include <sys/types.h>

#define CLOCKS_PER_SEC 1000000

struct tm {
    int tm_sec;
    int tm_min;
    int tm_hour;
    int tm_mday;
    int tm_mon;
    int tm_year;
    int tm_wday;
    int tm_yday;
    int tm_isdst;
    long tm_gmtoff;
    char* tm_zone;
};
typedef enum { _CLOCK_REALTIME = 0, _CLOCK_MONOTONIC_RAW = 4, _CLOCK_MONOTONIC = 6 } clockid_t;
#define CLOCK_REALTIME _CLOCK_REALTIME
#define CLOCK_MONOTONIC _CLOCK_MONOTONIC

KX_BEGIN
clock_t clock(void);
int clock_gettime(clockid_t clock, struct timespec* result);
struct tm* gmtime_r(const time_t* time, struct tm* result);
struct tm* localtime_r(const time_t* time, struct tm* result);
time_t mktime(struct tm* time);
int nanosleep(const struct timespec* duration, struct timespec* left);
size_t strftime(char* buffer, size_t size, const char* format, const struct tm* time);
time_t time(time_t* result);
time_t timegm(struct tm* time);
void tzset(void);
KX_END
