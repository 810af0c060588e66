#include "quillmoor/platform/macos/desktop/finder_event_macos.h"

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"

namespace quillmoor::platform::macos {
namespace {

// Four characters as one number, as the system's headers write them.
constexpr UInt32 code(const char (&text)[5]) {
    UInt32 number = 0;
    for (int i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(text[i]);
    return number;
}

constexpr AEEventClass kFinderClass = code("fndr");
constexpr AEEventID kUpdate = code("fupd");
constexpr OSType kFinder = code("MACS");

OSStatus sendUpdate(AliasHandle alias) {
    AppleEvent event{typeNull, nullptr};
    AppleEvent reply{typeNull, nullptr};
    OSStatus status = ::AEBuildAppleEvent(kFinderClass, kUpdate, typeApplSignature, &kFinder,
                                          sizeof kFinder, kAutoGenerateReturnID, kAnyTransactionID,
                                          &event, nullptr, "'----':alis(@@)", alias);
    if (status != 0) return status;
    status = ::AESendMessage(&event, &reply, kAENoReply, kAEDefaultTimeout);
    ::AEDisposeDesc(&reply);
    ::AEDisposeDesc(&event);
    return status;
}

}  // namespace

OSStatus sendFinderUpdate(const FSRef& item) {
    const auto newAlias = lateCall<NewAlias>(kNewAlias);
    const auto disposeHandle = lateCall<DisposeHandle>(kDisposeHandle);
    if (newAlias == nullptr || disposeHandle == nullptr) return -1;
    AliasHandle alias = nullptr;
    OSStatus status = newAlias(&item, &alias);
    if (status != 0) return status;
    status = sendUpdate(alias);
    disposeHandle(reinterpret_cast<Handle>(alias));
    return status;
}

}  // namespace quillmoor::platform::macos
