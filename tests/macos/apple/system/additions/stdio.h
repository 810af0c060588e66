// What <stdio.h> has only on macOS.
#pragma once

#include <additions/linkage.h>

#define RENAME_EXCL 0x00000004

KX_BEGIN
int renameatx_np(int folder, const char* name, int newFolder, const char* newName,
                 unsigned int flags);
KX_END
