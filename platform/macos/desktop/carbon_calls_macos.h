// The obsolete calls that this room looks up when they are needed, by type and name.
#pragma once

#include <CoreServices/CoreServices.h>

namespace quillmoor::platform::macos {

inline constexpr char kGetFSRef[] = "CFURLGetFSRef";
using GetFSRef = Boolean (*)(CFURLRef url, FSRef* item);

inline constexpr char kCreateFromFSRef[] = "CFURLCreateFromFSRef";
using CreateFromFSRef = CFURLRef (*)(CFAllocatorRef allocator, const FSRef* item);

inline constexpr char kGetCatalogInfo[] = "FSGetCatalogInfo";
using GetCatalogInfo = OSErr (*)(const FSRef* item, FSCatalogInfoBitmap wanted, FSCatalogInfo* info,
                                 HFSUniStr255* name, FSSpecPtr spec, FSRef* parent);

inline constexpr char kSetCatalogInfo[] = "FSSetCatalogInfo";
using SetCatalogInfo = OSErr (*)(const FSRef* item, FSCatalogInfoBitmap given,
                                 const FSCatalogInfo* info);

inline constexpr char kNewAlias[] = "FSNewAliasMinimal";
using NewAlias = OSErr (*)(const FSRef* target, AliasHandle* alias);

inline constexpr char kDisposeHandle[] = "DisposeHandle";
using DisposeHandle = void (*)(Handle handle);

inline constexpr char kCreateOperation[] = "FSFileOperationCreate";
using CreateOperation = FSFileOperationRef (*)(CFAllocatorRef allocator);

inline constexpr char kScheduleOperation[] = "FSFileOperationScheduleWithRunLoop";
inline constexpr char kUnscheduleOperation[] = "FSFileOperationUnscheduleFromRunLoop";
using ScheduleOperation = OSStatus (*)(FSFileOperationRef operation, CFRunLoopRef runLoop,
                                       CFStringRef mode);

inline constexpr char kCopyObject[] = "FSPathCopyObjectAsync";
using CopyObject = OSStatus (*)(FSFileOperationRef operation, const char* source,
                                const char* folder, CFStringRef name, OptionBits options,
                                FSPathFileOperationStatusProcPtr callback, CFTimeInterval interval,
                                FSFileOperationClientContext* context);

inline constexpr char kCancelOperation[] = "FSFileOperationCancel";
using CancelOperation = OSStatus (*)(FSFileOperationRef operation);

inline constexpr char kRegisterUrl[] = "LSRegisterURL";
using RegisterUrl = OSStatus (*)(CFURLRef url, Boolean update);

}  // namespace quillmoor::platform::macos
