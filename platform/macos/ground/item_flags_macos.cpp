#include "quillmoor/platform/macos/ground/item_flags_macos.h"

#include <sys/attr.h>
#include <unistd.h>

#include <cstring>

namespace quillmoor::platform::macos {
namespace {

attrlist requestFor(attrgroup_t common, attrgroup_t ofFolder = 0) {
    attrlist request{};
    request.bitmapcount = ATTR_BIT_MAP_COUNT;
    request.commonattr = common;
    request.dirattr = ofFolder;
    return request;
}

// The replies have the attributes in the order of their bits, each at a multiple of four bytes: a
// date is not aligned and can only be copied.
struct ItemReply {
    std::uint32_t size;  // of the whole reply, this included
    unsigned char modified[sizeof(timespec)];
    std::uint32_t flags;
    std::uint32_t mountStatus;  // of folders only: the reply is shorter for all others
};
struct CreationReply {
    std::uint32_t size;
    unsigned char created[sizeof(timespec)];
    std::uint32_t flags;
};
struct FlagsReply {
    std::uint32_t size;
    std::uint32_t flags;
};

}  // namespace

int readItemFlags(int folder, const char* name, ItemFlags* found) {
    attrlist request = requestFor(ATTR_CMN_MODTIME | ATTR_CMN_FLAGS, ATTR_DIR_MOUNTSTATUS);
    ItemReply reply{};
    if (::getattrlistat(folder, name, &request, &reply, sizeof reply, FSOPT_NOFOLLOW) != 0)
        return -1;
    found->flags = reply.flags;
    std::memcpy(&found->modified, reply.modified, sizeof found->modified);
    found->isMountPoint =
        reply.size >= sizeof reply && (reply.mountStatus & DIR_MNTSTATUS_MNTPOINT) != 0;
    return 0;
}

int readOpenItemFlags(int file, std::uint32_t* flags) {
    attrlist request = requestFor(ATTR_CMN_FLAGS);
    FlagsReply reply{};
    if (::fgetattrlist(file, &request, &reply, sizeof reply, 0) != 0) return -1;
    *flags = reply.flags;
    return 0;
}

int writeItemFlags(int folder, const char* name, std::uint32_t flags) {
    attrlist request = requestFor(ATTR_CMN_FLAGS);
    return ::setattrlistat(folder, name, &request, &flags, sizeof flags, FSOPT_NOFOLLOW);
}

int writeCreationDate(int folder, const char* name, const timespec& date) {
    attrlist request = requestFor(ATTR_CMN_CRTIME);
    timespec value = date;
    return ::setattrlistat(folder, name, &request, &value, sizeof value, 0);
}

int copyCreationDateAndFlags(int original, int made, std::uint32_t mask) {
    attrlist request = requestFor(ATTR_CMN_CRTIME | ATTR_CMN_FLAGS);
    CreationReply reply{};
    if (::fgetattrlist(original, &request, &reply, sizeof reply, 0) != 0) return -1;
    reply.flags &= mask;
    return ::fsetattrlist(made, &request, reply.created, sizeof reply - sizeof reply.size, 0);
}

}  // namespace quillmoor::platform::macos
