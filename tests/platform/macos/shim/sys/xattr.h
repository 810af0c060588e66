// Instead of the C library's header of this name.
#pragma once

#define KX_NAME_OF_FAKE(name) __asm__("macos_fake_" name)
#include <additions/sys/xattr.h>
