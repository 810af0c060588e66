// What <sys/socket.h> of macOS declares, as far as the project uses it.
#pragma once

#include <sys/types.h>
#include <sys/uio.h>

#define AF_UNIX 1
#define SOCK_STREAM 1
#define SOCK_DGRAM 2
#define MSG_PEEK 0x2
#define MSG_DONTWAIT 0x80

#define MSG_TRUNC 0x10
#define MSG_CTRUNC 0x20
#define SOL_SOCKET 0xffff
#define SO_TYPE 0x1008
#define SCM_RIGHTS 0x01
#define SHUT_RD 0
#define SHUT_WR 1
#define SHUT_RDWR 2

typedef uint8_t sa_family_t;
struct sockaddr {
    uint8_t sa_len;
    sa_family_t sa_family;
    char sa_data[14];
};
struct msghdr {
    void* msg_name;
    socklen_t msg_namelen;
    struct iovec* msg_iov;
    int msg_iovlen;
    void* msg_control;
    socklen_t msg_controllen;
    int msg_flags;
};

KX_BEGIN
int bind(int descriptor, const struct sockaddr* address, socklen_t size);
int getsockopt(int descriptor, int level, int name, void* value, socklen_t* size);
int listen(int descriptor, int waiting);
ssize_t recvmsg(int descriptor, struct msghdr* message, int flags);
ssize_t sendmsg(int descriptor, const struct msghdr* message, int flags);
int socket(int domain, int type, int protocol);
int socketpair(int domain, int type, int protocol, int descriptors[2]);
ssize_t recv(int descriptor, void* buffer, size_t size, int flags);
ssize_t send(int descriptor, const void* buffer, size_t size, int flags);
int shutdown(int descriptor, int how);
KX_END
