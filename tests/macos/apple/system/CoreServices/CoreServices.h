// Declarations of files, Apple events and Launch Services, as far as the back-end for macOS uses
// them. The layouts are those of 64-bit programs.
#pragma once

#include "CoreFoundation/CoreFoundation.h"

#pragma GCC visibility push(default)
extern "C" {

#pragma pack(push, 2)
struct FSRef {
    UInt8 hidden[80];
};
typedef struct FSRef FSRef;
typedef struct __FSFileOperation* FSFileOperationRef;

struct UTCDateTime {
    UInt16 highSeconds;
    UInt32 lowSeconds;
    UInt16 fraction;
};
typedef struct UTCDateTime UTCDateTime;

struct FSPermissionInfo {
    UInt32 userID;
    UInt32 groupID;
    UInt8 reserved1;
    UInt8 userAccess;
    UInt16 mode;
    void* fileSec;
};
typedef struct FSPermissionInfo FSPermissionInfo;

struct FSCatalogInfo {
    UInt16 nodeFlags;
    SInt16 volume;
    UInt32 parentDirID;
    UInt32 nodeID;
    UInt8 sharingFlags;
    UInt8 userPrivileges;
    UInt8 reserved1;
    UInt8 reserved2;
    UTCDateTime createDate;
    UTCDateTime contentModDate;
    UTCDateTime attributeModDate;
    UTCDateTime accessDate;
    UTCDateTime backupDate;
    FSPermissionInfo permissions;
    UInt8 finderInfo[16];
    UInt8 extFinderInfo[16];
    UInt64 dataLogicalSize;
    UInt64 dataPhysicalSize;
    UInt64 rsrcLogicalSize;
    UInt64 rsrcPhysicalSize;
    UInt32 valence;
    UInt32 textEncodingHint;
};
typedef struct FSCatalogInfo FSCatalogInfo;

struct AEDesc {
    UInt32 descriptorType;
    struct OpaqueAEDataStorageType** dataHandle;
};
typedef struct AEDesc AEDesc;
#pragma pack(pop)

typedef UInt32 FSCatalogInfoBitmap;
struct HFSUniStr255;
typedef struct FSSpec* FSSpecPtr;
struct AliasRecord;
typedef struct AliasRecord** AliasHandle;
enum : FSCatalogInfoBitmap { kFSCatInfoNodeFlags = 0x00000002, kFSCatInfoFinderInfo = 0x00000800 };
enum { kFSNodeIsDirectoryMask = 0x0010 };

// Obsolete, as in the system's headers: what names them does not compile.
[[deprecated]] OSErr FSGetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap wanted,
                                      FSCatalogInfo* info, HFSUniStr255* name, FSSpecPtr spec,
                                      FSRef* parent);
[[deprecated]] OSErr FSSetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap given,
                                      const FSCatalogInfo* info);
[[deprecated]] OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* alias);
[[deprecated]] Boolean CFURLGetFSRef(CFURLRef url, FSRef* item);
[[deprecated]] CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* item);
[[deprecated]] void DisposeHandle(Handle handle);

typedef struct __FSFileOperation* FSFileOperationRef;
typedef UInt32 FSFileOperationStage;
enum : FSFileOperationStage {
    kFSOperationStageUndefined = 0,
    kFSOperationStagePreflighting = 1,
    kFSOperationStageRunning = 2,
    kFSOperationStageComplete = 3
};
enum : OptionBits { kFSFileOperationDefaultOptions = 0 };
extern const CFStringRef kFSOperationBytesCompleteKey;
extern const CFStringRef kFSOperationThroughputKey;
struct FSFileOperationClientContext {
    CFIndex version;
    void* info;
    CFAllocatorRetainCallBack retain;
    CFAllocatorReleaseCallBack release;
    CFAllocatorCopyDescriptionCallBack copyDescription;
};
typedef void (*FSPathFileOperationStatusProcPtr)(FSFileOperationRef operation, const char* item,
                                                 FSFileOperationStage stage, OSStatus error,
                                                 CFDictionaryRef status, void* info);
[[deprecated]] FSFileOperationRef FSFileOperationCreate(CFAllocatorRef allocator);
[[deprecated]] OSStatus FSFileOperationScheduleWithRunLoop(FSFileOperationRef operation,
                                                           CFRunLoopRef runLoop, CFStringRef mode);
[[deprecated]] OSStatus FSFileOperationUnscheduleFromRunLoop(FSFileOperationRef operation,
                                                             CFRunLoopRef runLoop,
                                                             CFStringRef mode);
[[deprecated]] OSStatus FSPathCopyObjectAsync(FSFileOperationRef operation, const char* source,
                                              const char* folder, CFStringRef name,
                                              OptionBits options,
                                              FSPathFileOperationStatusProcPtr callback,
                                              CFTimeInterval interval,
                                              FSFileOperationClientContext* context);
[[deprecated]] OSStatus FSFileOperationCancel(FSFileOperationRef operation);

typedef AEDesc AppleEvent;
typedef UInt32 AEEventClass;
typedef UInt32 AEEventID;
typedef UInt32 DescType;
typedef SInt32 AESendMode;
struct AEBuildError;
enum : DescType { typeNull = 'null', typeApplSignature = 'sign' };
enum { kAutoGenerateReturnID = -1, kAnyTransactionID = 0 };
enum { kAENoReply = 1, kAEDefaultTimeout = -1 };

OSStatus AEBuildAppleEvent(AEEventClass eventClass, AEEventID event, DescType addressType,
                           const void* address, Size addressSize, SInt16 returnID,
                           SInt32 transactionID, AppleEvent* result, AEBuildError* error,
                           const char* format, ...);
OSStatus AESendMessage(const AppleEvent* event, AppleEvent* reply, AESendMode mode, long timeout);
OSErr AEDisposeDesc(AEDesc* description);

OSStatus LSRegisterURL(CFURLRef url, Boolean update);
}
#pragma GCC visibility pop
