// What is between these has the linkage of C.
#pragma once

#if defined(__cplusplus)
#define KX_BEGIN extern "C" {
#define KX_END }
#else
#define KX_BEGIN
#define KX_END
#endif
