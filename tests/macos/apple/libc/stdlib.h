// What <stdlib.h> of macOS declares, as far as the project and the C++ library use it.
#pragma once

#include <sys/types.h>

#define EXIT_SUCCESS 0
#define EXIT_FAILURE 1
#define RAND_MAX 0x7fffffff

typedef struct {
    int quot;
    int rem;
} div_t;
typedef struct {
    long quot;
    long rem;
} ldiv_t;
typedef struct {
    long long quot;
    long long rem;
} lldiv_t;

KX_BEGIN
__attribute__((noreturn)) void abort(void);
int abs(int value);
long labs(long value);
long long llabs(long long value);
div_t div(int value, int divisor);
ldiv_t ldiv(long value, long divisor);
lldiv_t lldiv(long long value, long long divisor);
uint32_t arc4random(void);
void arc4random_buf(void* buffer, size_t size);
int atexit(void (*function)(void));
int atoi(const char* text);
void* calloc(size_t count, size_t size);
__attribute__((noreturn)) void exit(int status);
__attribute__((noreturn)) void _Exit(int status);
void free(void* memory);
char* getenv(const char* name);
int setenv(const char* name, const char* value, int overwrite);
int unsetenv(const char* name);
void* malloc(size_t size);
char* mkdtemp(char* pattern);
int mkstemp(char* pattern);
int mkstemps(char* pattern, int suffix);
int posix_memalign(void** memory, size_t alignment, size_t size);
void qsort(void* data, size_t count, size_t size, int (*compare)(const void*, const void*));
int rand(void);
void srand(unsigned int seed);
void* realloc(void* memory, size_t size);
char* realpath(const char* path, char* buffer) __asm("_realpath$DARWIN_EXTSN");
double strtod(const char* text, char** end);
float strtof(const char* text, char** end);
long double strtold(const char* text, char** end);
long strtol(const char* text, char** end, int base);
long long strtoll(const char* text, char** end, int base);
unsigned long strtoul(const char* text, char** end, int base);
unsigned long long strtoull(const char* text, char** end, int base);
KX_END
