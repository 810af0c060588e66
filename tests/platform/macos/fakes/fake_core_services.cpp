#include "tests/platform/macos/fakes/fake_core_services.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstring>

#include "tests/platform/macos/fakes/fake_core_foundation.h"

// What an alias and a built event are here.
struct AliasRecord {
    std::string path;
};

namespace quillmoor::test {
namespace {

FakeCoreServices* current = nullptr;
constexpr OSErr kNotFound = -43;

FakeCoreServices& services() {
    if (current == nullptr) current = new FakeCoreServices;
    return *current;
}

void called(const char* name) {
    services().calls.emplace_back(name);
}

// A reference holds the number of a path that was referred to.
std::vector<std::string>& referred() {
    static auto& paths = *new std::vector<std::string>;
    return paths;
}

std::string pathOf(const FSRef* item) {
    std::size_t number = 0;
    std::memcpy(&number, item->hidden, sizeof number);
    return number >= 1 && number <= referred().size() ? referred()[number - 1] : "";
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool isEmpty(const AEDesc* description) {
    return description->descriptorType == typeNull && description->dataHandle == nullptr;
}

}  // namespace

FakeCoreServices::FakeCoreServices() {
    current = this;
}
FakeCoreServices::~FakeCoreServices() {
    if (current == this) current = nullptr;
}

}  // namespace quillmoor::test

using namespace quillmoor::test;

extern "C" {

Boolean CFURLGetFSRef(CFURLRef url, FSRef* item) {
    called("CFURLGetFSRef");
    const std::string path = FakeObjects::textOf(url);
    if (!exists(path)) return 0;
    referred().push_back(path);
    const std::size_t number = referred().size();
    std::memset(item, 0, sizeof *item);
    std::memcpy(item->hidden, &number, sizeof number);
    return 1;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* item) {
    called("CFURLCreateFromFSRef");
    const std::string path = pathOf(item);
    return exists(path) ? FakeObjects::makeUrl(path) : nullptr;
}

OSErr FSGetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap wanted, FSCatalogInfo* info,
                       HFSUniStr255* name, FSSpecPtr spec, FSRef* parent) {
    called("FSGetCatalogInfo");
    services().wanted.push_back(wanted);
    const std::string path = pathOf(item);
    if (services().getStatus != 0 || name != nullptr || spec != nullptr || parent != nullptr)
        return services().getStatus != 0 ? services().getStatus : OSErr{-50};
    if (!exists(path)) return kNotFound;
    FSCatalogInfo found = services().infoOf[path];
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        found.nodeFlags |= kFSNodeIsDirectoryMask;
    // Only what was asked for.
    if ((wanted & kFSCatInfoNodeFlags) != 0) info->nodeFlags = found.nodeFlags;
    if ((wanted & kFSCatInfoFinderInfo) != 0)
        std::memcpy(info->finderInfo, found.finderInfo, sizeof found.finderInfo);
    return 0;
}

OSErr FSSetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap given, const FSCatalogInfo* info) {
    called("FSSetCatalogInfo");
    services().given.push_back(given);
    if (services().setStatus != 0) return services().setStatus;
    const std::string path = pathOf(item);
    if (!exists(path)) return kNotFound;
    if ((given & kFSCatInfoFinderInfo) != 0)
        std::memcpy(services().infoOf[path].finderInfo, info->finderInfo, sizeof info->finderInfo);
    return 0;
}

OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* alias) {
    called("FSNewAliasMinimal");
    if (services().aliasStatus != 0) return services().aliasStatus;
    *alias = new AliasRecord*(new AliasRecord{pathOf(target)});
    ++services().aliases;
    return 0;
}

void DisposeHandle(Handle handle) {
    called("DisposeHandle");
    auto* const alias = reinterpret_cast<AliasHandle>(handle);
    --services().aliases;
    delete *alias;
    delete alias;
}

OSStatus AEBuildAppleEvent(AEEventClass eventClass, AEEventID event, DescType addressType,
                           const void* address, Size addressSize, SInt16 returnID,
                           SInt32 transactionID, AppleEvent* result, AEBuildError* error,
                           const char* format, ...) {
    called("AEBuildAppleEvent");
    std::va_list parameters;
    va_start(parameters, format);
    const auto alias = va_arg(parameters, AliasHandle);
    va_end(parameters);
    services().events.push_back(
        {eventClass, event, addressType,
         std::string(static_cast<const char*>(address), static_cast<std::size_t>(addressSize)),
         returnID, transactionID, isEmpty(result), error != nullptr, format, (*alias)->path});
    if (services().buildStatus != 0) return services().buildStatus;
    result->descriptorType = 0x61657674;  // aevt
    result->dataHandle = reinterpret_cast<OpaqueAEDataStorageType**>(&services());
    ++services().descriptions;
    return 0;
}

OSStatus AESendMessage(const AppleEvent* event, AppleEvent* reply, AESendMode mode, long timeout) {
    called("AESendMessage");
    services().sendMode = mode;
    services().sendTimeout = timeout;
    services().replyStartsEmpty = isEmpty(reply);
    return isEmpty(event) ? -1700 : services().sendStatus;
}

OSErr AEDisposeDesc(AEDesc* description) {
    called(isEmpty(description) ? "AEDisposeDesc of the reply" : "AEDisposeDesc of the event");
    if (!isEmpty(description)) --services().descriptions;
    *description = {typeNull, nullptr};
    return 0;
}

OSStatus LSRegisterURL(CFURLRef url, Boolean update) {
    called("LSRegisterURL");
    services().registered.push_back(FakeObjects::textOf(url));
    services().registrationUpdates = update != 0;
    return services().registerStatus;
}
}
