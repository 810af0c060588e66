#include "quillmoor/platform/macos/desktop/registration_macos.h"

#include <cerrno>

#include "quillmoor/platform/macos/desktop/carbon_calls_macos.h"
#include "quillmoor/platform/macos/ground/core_foundation_macos.h"
#include "quillmoor/platform/macos/ground/late_call_macos.h"

namespace quillmoor::platform::macos {

std::int32_t registerWithLaunchServices(const std::string& path) {
    const auto registerUrl = lateCall<RegisterUrl>(kRegisterUrl);
    if (registerUrl == nullptr) return -1;
    const CFOwned<CFURLRef> url = urlOfPath(path);
    return url ? registerUrl(url.get(), true) : ENOENT;
}

}  // namespace quillmoor::platform::macos
