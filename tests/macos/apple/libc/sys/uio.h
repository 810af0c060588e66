// What <sys/uio.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

struct iovec {
    void* iov_base;
    size_t iov_len;
};

KX_BEGIN
ssize_t readv(int descriptor, const struct iovec* parts, int count);
ssize_t writev(int descriptor, const struct iovec* parts, int count);
KX_END
