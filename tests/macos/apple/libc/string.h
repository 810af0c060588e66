// What <string.h> of macOS declares, as far as the project and the C++ library use it.
#pragma once

#include <sys/types.h>

KX_BEGIN
void* memchr(const void* data, int byte, size_t size);
int memcmp(const void* one, const void* other, size_t size);
void* memcpy(void* to, const void* from, size_t size);
void* memmem(const void* data, size_t size, const void* part, size_t part_size);
void* memmove(void* to, const void* from, size_t size);
void* memset(void* data, int byte, size_t size);
char* strchr(const char* text, int character);
int strcmp(const char* one, const char* other);
int strcoll(const char* one, const char* other);
size_t strcspn(const char* text, const char* characters);
char* strdup(const char* text);
char* strerror(int number);
int strerror_r(int number, char* buffer, size_t size);
size_t strlen(const char* text);
int strncmp(const char* one, const char* other, size_t size);
size_t strnlen(const char* text, size_t size);
char* strpbrk(const char* text, const char* characters);
char* strrchr(const char* text, int character);
size_t strspn(const char* text, const char* characters);
char* strstr(const char* text, const char* part);
KX_END
