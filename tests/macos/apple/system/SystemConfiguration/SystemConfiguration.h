// Declarations of the system's configuration, as far as the back-end for macOS uses them.
#pragma once

#include <sys/types.h>

#include "CoreFoundation/CoreFoundation.h"

extern "C" {
typedef const struct __SCDynamicStore* SCDynamicStoreRef;

CFStringRef SCDynamicStoreCopyConsoleUser(SCDynamicStoreRef store, uid_t* user, gid_t* group);
}
