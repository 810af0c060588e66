// Instead of the C library's header of this name, whose calls have other parameters. The fakes have
// other names in the object files, too.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

extern "C" {
ssize_t flistxattr(int file, char* names, std::size_t size,
                   int options) __asm__("macos_fake_flistxattr");
ssize_t fgetxattr(int file, const char* name, void* value, std::size_t size, std::uint32_t position,
                  int options) __asm__("macos_fake_fgetxattr");
int fsetxattr(int file, const char* name, const void* value, std::size_t size,
              std::uint32_t position, int options) __asm__("macos_fake_fsetxattr");
}
