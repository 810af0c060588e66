// What <unistd.h> has only on macOS.
#pragma once

#include <additions/linkage.h>
#include <stddef.h>
#include <stdint.h>

KX_BEGIN
int getattrlistat(int folder, const char* name, void* list, void* buffer, size_t size,
                  unsigned long options);
int fgetattrlist(int file, void* list, void* buffer, size_t size, unsigned int options);
int fsetattrlist(int file, void* list, void* buffer, size_t size, unsigned int options);
int setattrlistat(int folder, const char* name, void* list, void* buffer, size_t size,
                  uint32_t options);
KX_END
