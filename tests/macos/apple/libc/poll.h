// What <poll.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>

typedef unsigned int nfds_t;
struct pollfd {
    int fd;
    short events;
    short revents;
};
#define POLLIN 0x0001
#define POLLPRI 0x0002
#define POLLOUT 0x0004
#define POLLERR 0x0008
#define POLLHUP 0x0010
#define POLLNVAL 0x0020

KX_BEGIN
int poll(struct pollfd* descriptors, nfds_t count, int milliseconds);
KX_END
