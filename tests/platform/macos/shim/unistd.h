// The C library's header and what it has only on macOS.
#pragma once

#include_next <unistd.h>

#include <additions/unistd.h>
