// Declarations of the attribute lists of files, for a system that lacks them.
#pragma once

#include <sys/types.h>

typedef u_int32_t attrgroup_t;

struct attrlist {
    u_short bitmapcount;
    u_int16_t reserved;
    attrgroup_t commonattr;
    attrgroup_t volattr;
    attrgroup_t dirattr;
    attrgroup_t fileattr;
    attrgroup_t forkattr;
};

#define ATTR_BIT_MAP_COUNT 5
#define FSOPT_NOFOLLOW 0x00000001
#define ATTR_CMN_CRTIME 0x00000200
#define ATTR_CMN_MODTIME 0x00000400
#define ATTR_CMN_FLAGS 0x00040000
#define ATTR_DIR_MOUNTSTATUS 0x00000004
#define DIR_MNTSTATUS_MNTPOINT 0x00000001
