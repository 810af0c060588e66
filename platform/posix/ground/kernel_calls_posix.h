// System calls that every kernel has and each spells its own way. Defined in the folder of the
// system; everybody else reaches them through the table in system_calls_posix.h.
#pragma once

#include <sys/types.h>

#include <cstddef>

namespace quillmoor::platform::posix {

struct RemovalTraits;

int renameNoReplace(int folder, const char* name, int newFolder, const char* newName);
int cloneFile(int from, int to);
ssize_t listExtendedAttributes(int file, char* names, std::size_t size);
ssize_t getExtendedAttribute(int file, const char* name, void* value, std::size_t size);
int setExtendedAttribute(int file, const char* name, const void* value, std::size_t size);
int isHfsPlus(int file, bool* answer);
int isImmutable(int folder, const char* name, bool* answer);
int getRemovalTraits(int folder, const char* name, RemovalTraits* traits);
int getItemFlags(int file, int* flags);
int setItemFlags(int file, int flags);

// The attribute is part of the item, not of the place where it stands.
bool isCopiedAttribute(const char* name, bool ownerKept);

}  // namespace quillmoor::platform::posix
