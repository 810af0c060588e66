// What <crt_externs.h> of macOS declares, as far as the project uses it: environ(7).
#pragma once

#include <additions/linkage.h>

KX_BEGIN
char*** _NSGetEnviron(void);
KX_END
