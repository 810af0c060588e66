// Everything that an operating system must provide, in one place. A test replaces it as a whole or
// service by service; platform/README.md describes how to write a back-end.
#pragma once

#include "quillmoor/platform/applications.h"
#include "quillmoor/platform/attributes.h"
#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/bundle.h"
#include "quillmoor/platform/clock.h"
#include "quillmoor/platform/console.h"
#include "quillmoor/platform/file_handle.h"
#include "quillmoor/platform/file_manager.h"
#include "quillmoor/platform/file_operations.h"
#include "quillmoor/platform/file_tree.h"
#include "quillmoor/platform/finder_info.h"
#include "quillmoor/platform/locations.h"
#include "quillmoor/platform/main_thread.h"
#include "quillmoor/platform/process_info.h"
#include "quillmoor/platform/property_list.h"
#include "quillmoor/platform/task.h"
#include "quillmoor/platform/text.h"
#include "quillmoor/platform/tool_paths.h"
#include "quillmoor/platform/trash.h"

namespace quillmoor::platform {

// The services are not owned and live as long as the process, or the test.
struct Platform {
    ProcessInfo* processInfo;
    Locations* locations;
    FileManager* fileManager;
    Attributes* attributes;
    FileTree* fileTree;
    FileOperations* fileOperations;
    FileHandles* fileHandles;
    Tasks* tasks;
    MainThread* mainThread;
    Bundles* bundles;
    PropertyLists* propertyLists;
    Applications* applications;
    Trash* trash;
    ToolPaths* toolPaths;
    FinderInfo* finderInfo;
    Authorization* authorization;
    Text* text;
    Console* console;
    Clock* clock;
};

// The platform in use: native(), unless a test has put another in its place. May be called from any
// thread.
const Platform& current();

// This system's own back-end, also while another platform is in use. The first call makes its
// services, which are never destroyed.
const Platform& native();

// Replaces the platform in use and returns the one before. For tests, before threads are started:
// references from earlier calls of current() are not redirected. `platform` must outlive its use;
// null means native().
const Platform* exchange(const Platform* platform);

}  // namespace quillmoor::platform
