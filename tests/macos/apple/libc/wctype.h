// What <wctype.h> of macOS declares: nothing of it is used.
#pragma once

#include <wchar.h>
