// What <dlfcn.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

#define RTLD_DEFAULT ((void*)-2)

typedef struct dl_info {
    const char* dli_fname;
    void* dli_fbase;
    const char* dli_sname;
    void* dli_saddr;
} Dl_info;

KX_BEGIN
int dladdr(const void* address, Dl_info* info);
void* dlsym(void* handle, const char* name);
KX_END
