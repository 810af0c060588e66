// What <syslog.h> of macOS declares, as far as the project uses it.
#pragma once

#define LOG_ERR 3
#define LOG_WARNING 4
#define LOG_NOTICE 5
#define LOG_INFO 6
#define LOG_PID 0x01
#define LOG_USER (1 << 3)

#include <sys/types.h>

KX_BEGIN
void openlog(const char* name, int options, int facility);
void syslog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
void closelog(void);
KX_END
