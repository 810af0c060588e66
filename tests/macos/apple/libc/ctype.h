// What <ctype.h> of macOS declares, as far as the C++ library uses it.
#pragma once

#include <sys/types.h>

KX_BEGIN
int isalnum(int character);
int isalpha(int character);
int isdigit(int character);
int islower(int character);
int isspace(int character);
int isupper(int character);
int isxdigit(int character);
int tolower(int character);
int toupper(int character);
KX_END
