// Adds the error number that Linux has under another name.
#pragma once

#include_next <errno.h>

#define ENOATTR ENODATA
