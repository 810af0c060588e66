// The calls of <sys/xattr.h>, which have other parameters than those of Linux. Where they are
// fakes, KX_NAME_OF_FAKE gives them other names in the object files, too.
#pragma once

#include <additions/linkage.h>
#include <sys/types.h>

#include <stddef.h>
#include <stdint.h>

#ifndef KX_NAME_OF_FAKE
#define KX_NAME_OF_FAKE(name)
#endif

KX_BEGIN
ssize_t flistxattr(int file, char* names, size_t size, int options) KX_NAME_OF_FAKE("flistxattr");
ssize_t fgetxattr(int file, const char* name, void* value, size_t size, uint32_t position,
                  int options) KX_NAME_OF_FAKE("fgetxattr");
int fsetxattr(int file, const char* name, const void* value, size_t size, uint32_t position,
              int options) KX_NAME_OF_FAKE("fsetxattr");
KX_END
