// What the kernel knows of an item beside its status: flags, dates, and whether it is a mount
// point. By attribute lists, which name an item in an open folder.
#pragma once

#include <time.h>

#include <cstdint>

namespace quillmoor::platform::macos {

struct ItemFlags {
    std::uint32_t flags = 0;  // the bits UF_… and SF_… of sys/stat.h
    timespec modified{};
    bool isMountPoint = false;
};

// These return 0, or -1 with errno. A link is not followed, except by the last one. May be called
// from any thread.
int readItemFlags(int folder, const char* name, ItemFlags* found);
int readOpenItemFlags(int file, std::uint32_t* flags);
// Sets all flags at once.
int writeItemFlags(int folder, const char* name, std::uint32_t flags);
int writeCreationDate(int folder, const char* name, const timespec& date);
// Gives one open item the creation date of another, and those of its flags that are in `mask`; the
// others are cleared.
int copyCreationDateAndFlags(int original, int made, std::uint32_t mask);

}  // namespace quillmoor::platform::macos
