// What <wchar.h> of macOS declares, as far as the C++ library uses it.
#pragma once

#include <stdio.h>
#include <sys/types.h>

#define WEOF ((wint_t)-1)
typedef int wint_t;
typedef union {
    char state[128];
    long long align;
} mbstate_t;

struct tm;

KX_BEGIN
wchar_t* wcschr(const wchar_t* text, wchar_t character);
size_t wcslen(const wchar_t* text);
wchar_t* wcspbrk(const wchar_t* text, const wchar_t* characters);
wchar_t* wcsrchr(const wchar_t* text, wchar_t character);
wchar_t* wcsstr(const wchar_t* text, const wchar_t* part);
wchar_t* wmemchr(const wchar_t* data, wchar_t character, size_t size);
int wmemcmp(const wchar_t* one, const wchar_t* other, size_t size);
wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, size_t size);
wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t size);
wchar_t* wmemset(wchar_t* data, wchar_t character, size_t size);
KX_END
