// What <inttypes.h> of macOS declares, as far as the project uses it.
#pragma once

#include <stdint.h>

#define PRId64 "lld"
#define PRIu64 "llu"
#define PRIx64 "llx"
