// The C library's header and what it has only on macOS.
#pragma once

#include_next <sys/stat.h>

#include <additions/sys/stat.h>
