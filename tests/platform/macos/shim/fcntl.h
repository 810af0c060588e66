// The C library's header and what it has only on macOS.
#pragma once

#include_next <fcntl.h>

#include <additions/fcntl.h>

// The call for this type of argument is the fake's; all others are the C library's.
int fcntl(int file, int command, fstore_t* store) __asm__("macos_fake_preallocate");
