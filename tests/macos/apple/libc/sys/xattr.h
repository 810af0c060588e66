// What <sys/xattr.h> of macOS declares, as far as the project uses it.
#pragma once

#include <additions/sys/xattr.h>
