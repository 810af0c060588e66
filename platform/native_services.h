// This system's own services, one function for each, defined in the back-end's files. Each answers
// the same object at every call, makes it on the first, and never destroys it.
#pragma once

#include "quillmoor/platform/platform.h"

namespace quillmoor::platform {

ProcessInfo* nativeProcessInfo();
Locations* nativeLocations();
FileManager* nativeFileManager();
Attributes* nativeAttributes();
FileTree* nativeFileTree();
FileOperations* nativeFileOperations();
FileHandles* nativeFileHandles();
Tasks* nativeTasks();
MainThread* nativeMainThread();
Bundles* nativeBundles();
PropertyLists* nativePropertyLists();
Applications* nativeApplications();
Trash* nativeTrash();
ToolPaths* nativeToolPaths();
FinderInfo* nativeFinderInfo();
Authorization* nativeAuthorization();
Text* nativeText();
Console* nativeConsole();
Clock* nativeClock();

}  // namespace quillmoor::platform
