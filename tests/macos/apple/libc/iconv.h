// What <iconv.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

typedef void* iconv_t;

KX_BEGIN
iconv_t iconv_open(const char* to, const char* from);
size_t iconv(iconv_t converter, char** input, size_t* input_left, char** output,
             size_t* output_left);
int iconv_close(iconv_t converter);
KX_END
