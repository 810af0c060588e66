// This system's own services, one function for each, defined in the back-end's files. Each makes
// its object at the first call, returns the same one from then on, and never destroys it. May be
// called from any thread.
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
