#include "quillmoor/platform/macos/desktop/system_reference_macos.h"

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/core_foundation_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"

namespace quillmoor::platform::macos {

bool systemReferenceOf(const std::string& path, FSRef& item) {
    const auto getFSRef = lateCall<GetFSRef>(kGetFSRef);
    const CFOwned<CFURLRef> url = urlOfPath(path);
    return getFSRef != nullptr && url && getFSRef(url.get(), &item) != 0;
}

OptionalPath pathOfSystemReference(const FSRef& item) {
    const auto createFromFSRef = lateCall<CreateFromFSRef>(kCreateFromFSRef);
    if (createFromFSRef == nullptr) return std::nullopt;
    const CFOwned<CFURLRef> url(createFromFSRef(kCFAllocatorDefault, &item));
    return pathOfUrl(url.get());
}

}  // namespace quillmoor::platform::macos
