// Adds the calls that only macOS has.
#pragma once

#include_next <unistd.h>

#include <cstddef>
#include <cstdint>

extern "C" {
int getattrlistat(int folder, const char* name, void* list, void* buffer, std::size_t size,
                  unsigned long options);
int fgetattrlist(int file, void* list, void* buffer, std::size_t size, unsigned int options);
int setattrlistat(int folder, const char* name, void* list, void* buffer, std::size_t size,
                  std::uint32_t options);
}
