// Instead of the C library's header of this name: access control lists, as far as the back-end for
// macOS uses them.
#pragma once

typedef struct _acl* acl_t;
typedef enum { ACL_TYPE_EXTENDED = 0x00000100 } acl_type_t;

extern "C" {
acl_t acl_get_fd_np(int file, acl_type_t type);
int acl_set_fd_np(int file, acl_t list, acl_type_t type);
int acl_free(void* object);
}
