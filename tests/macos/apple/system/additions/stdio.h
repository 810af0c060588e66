// What <stdio.h> has only on macOS.
#pragma once

#define RENAME_EXCL 0x00000004

extern "C" int renameatx_np(int folder, const char* name, int newFolder, const char* newName,
                            unsigned int flags);
