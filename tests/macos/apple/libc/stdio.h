// What <stdio.h> of macOS declares, as far as the project and the C++ library use it.
#pragma once

#include <stdarg.h>
#include <sys/types.h>

typedef struct __sFILE FILE;
typedef off_t fpos_t;

KX_BEGIN
extern FILE* __stdinp;
extern FILE* __stdoutp;
extern FILE* __stderrp;
#define stdin __stdinp
#define stdout __stdoutp
#define stderr __stderrp
#define EOF (-1)
#define BUFSIZ 1024

void clearerr(FILE* file);
int fclose(FILE* file);
int feof(FILE* file);
int ferror(FILE* file);
int fflush(FILE* file);
int fgetc(FILE* file);
FILE* fopen(const char* path, const char* mode);
int fprintf(FILE* file, const char* format, ...) __attribute__((format(printf, 2, 3)));
int fputc(int character, FILE* file);
int fputs(const char* text, FILE* file);
size_t fread(void* buffer, size_t size, size_t count, FILE* file);
size_t fwrite(const void* buffer, size_t size, size_t count, FILE* file);
int fileno(FILE* file);
int printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
int puts(const char* text);
int remove(const char* path);
int rename(const char* from, const char* to);
int renameat(int from, const char* path, int to, const char* other);
int snprintf(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
int vsnprintf(char* buffer, size_t size, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));
KX_END

#include <additions/stdio.h>
