// Pins the signatures, layouts and constants of CoreFoundation, CoreServices and
// SystemConfiguration; security_check.cpp says how. They are published below
// https://developer.apple.com/documentation/, in coreservices, corefoundation and
// systemconfiguration, and, machine-translated from the headers, in the packages
// objc2-core-foundation, objc2-core-services and objc2-system-configuration on https://docs.rs.
// Not found there: FSNewAliasMinimal and DisposeHandle, which are from the archive at
// https://developer.apple.com/library/archive/ (Alias Manager and Memory Manager).
#include <CoreServices/CoreServices.h>
#include <SystemConfiguration/SystemConfiguration.h>

#include <cstddef>
#include <type_traits>

#include "quillmoor/platform/file_operations.h"
#include "quillmoor/platform/finder_info.h"
#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace quillmoor::platform::macos {
namespace {

static_assert(std::is_same_v<decltype(&::CFURLGetFSRef), GetFSRef>);
static_assert(std::is_same_v<decltype(&::CFURLCreateFromFSRef), CreateFromFSRef>);
static_assert(std::is_same_v<decltype(&::FSGetCatalogInfo), GetCatalogInfo>);
static_assert(std::is_same_v<decltype(&::FSSetCatalogInfo), SetCatalogInfo>);
static_assert(std::is_same_v<decltype(&::FSNewAliasMinimal), NewAlias>);
static_assert(std::is_same_v<decltype(&::DisposeHandle), DisposeHandle>);
static_assert(std::is_same_v<decltype(&::LSRegisterURL), RegisterUrl>);

static_assert(std::is_same_v<decltype(&::FSFileOperationCreate), CreateOperation>);
static_assert(std::is_same_v<decltype(&::FSFileOperationScheduleWithRunLoop), ScheduleOperation>);
static_assert(std::is_same_v<decltype(&::FSFileOperationUnscheduleFromRunLoop), ScheduleOperation>);
static_assert(std::is_same_v<decltype(&::FSPathCopyObjectAsync), CopyObject>);
static_assert(std::is_same_v<decltype(&::FSFileOperationCancel), CancelOperation>);
static_assert(std::is_same_v<FSPathFileOperationStatusProcPtr,
                             void (*)(FSFileOperationRef, const char*, FSFileOperationStage,
                                      OSStatus, CFDictionaryRef, void*)>);
static_assert(sizeof(FSFileOperationClientContext) == 40 &&
              offsetof(FSFileOperationClientContext, info) == 8 &&
              offsetof(FSFileOperationClientContext, retain) == 16 &&
              offsetof(FSFileOperationClientContext, release) == 24);
static_assert(kFSFileOperationDefaultOptions == 0);
static_assert(kFSOperationStageUndefined == static_cast<int>(FileOperationStage::Undefined) &&
              kFSOperationStagePreflighting == static_cast<int>(FileOperationStage::Preflighting) &&
              kFSOperationStageRunning == static_cast<int>(FileOperationStage::Running) &&
              kFSOperationStageComplete == static_cast<int>(FileOperationStage::Complete));

static_assert(sizeof(FSRef) == 80);
static_assert(sizeof(FSCatalogInfo) == 148 && offsetof(FSCatalogInfo, nodeFlags) == 0 &&
              offsetof(FSCatalogInfo, permissions) == 56 &&
              offsetof(FSCatalogInfo, finderInfo) == 76 &&
              offsetof(FSCatalogInfo, extFinderInfo) == 92 &&
              offsetof(FSCatalogInfo, dataLogicalSize) == 108);
static_assert(kFSCatInfoNodeFlags == 0x2 && kFSCatInfoFinderInfo == 0x800);
static_assert(kFSNodeIsDirectoryMask == CatalogInfo::kNodeIsDirectory);

static_assert(sizeof(AEDesc) == 12 && offsetof(AEDesc, dataHandle) == 4);
static_assert(typeNull == 0x6E756C6C && typeApplSignature == 0x7369676E);
static_assert(kAutoGenerateReturnID == -1 && kAnyTransactionID == 0);
static_assert(kAENoReply == 1 && kAEDefaultTimeout == -1);
static_assert(
    std::is_same_v<decltype(&::AEBuildAppleEvent),
                   OSStatus (*)(AEEventClass, AEEventID, DescType, const void*, Size, SInt16,
                                SInt32, AppleEvent*, AEBuildError*, const char*, ...)>);
static_assert(std::is_same_v<decltype(&::AESendMessage),
                             OSStatus (*)(const AppleEvent*, AppleEvent*, AESendMode, long)>);
static_assert(std::is_same_v<decltype(&::AEDisposeDesc), OSErr (*)(AEDesc*)>);

static_assert(kCFNumberDoubleType == 13 && std::is_same_v<CFTimeInterval, double>);
static_assert(
    std::is_same_v<decltype(&::CFNumberGetValue), Boolean (*)(CFNumberRef, CFNumberType, void*)>);
static_assert(std::is_same_v<decltype(&::CFDictionaryGetKeysAndValues),
                             void (*)(CFDictionaryRef, const void**, const void**)>);
static_assert(std::is_same_v<decltype(&::CFStringCreateWithBytes),
                             CFStringRef (*)(CFAllocatorRef, const UInt8*, CFIndex,
                                             CFStringEncoding, Boolean)>);
static_assert(kCFStringEncodingUTF8 == 0x08000100);
static_assert(std::is_same_v<decltype(&::CFStringGetCString),
                             Boolean (*)(CFStringRef, char*, CFIndex, CFStringEncoding)>);
static_assert(std::is_same_v<decltype(&::CFURLCreateFromFileSystemRepresentation),
                             CFURLRef (*)(CFAllocatorRef, const UInt8*, CFIndex, Boolean)>);
static_assert(std::is_same_v<decltype(&::CFURLGetFileSystemRepresentation),
                             Boolean (*)(CFURLRef, Boolean, UInt8*, CFIndex)>);
static_assert(std::is_same_v<decltype(&::SCDynamicStoreCopyConsoleUser),
                             CFStringRef (*)(SCDynamicStoreRef, uid_t*, gid_t*)>);

}  // namespace
}  // namespace quillmoor::platform::macos
