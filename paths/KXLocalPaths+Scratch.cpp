#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "quillmoor/base/paths.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor {
namespace {

constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr unsigned kScratchTail = 8;

// The product of both clocks in 32 bits, unsigned because it overflows. Not an unpredictable seed,
// and it need not be: tempFile relies on the unique string for uniqueness.
void seedGenerator() {
    platform::Clock& clock = *platform::current().clock;
    const auto used = static_cast<std::uint32_t>(clock.processorTime());
    const auto seconds = static_cast<std::uint32_t>(
        std::chrono::floor<std::chrono::seconds>(clock.now()).time_since_epoch().count());
    std::srand(used * seconds);
}

}  // namespace

std::string KXLocalPaths::tempDirectory() {
    return platform::current().locations->temporaryDirectory();
}

std::string KXLocalPaths::uuid() {
    return platform::current().processInfo->globallyUniqueString();
}

std::string KXLocalPaths::randomString(unsigned length) {
    // On every call, also for no characters. Kept for compatibility.
    seedGenerator();
    std::string text;
    for (unsigned i = 0; i < length; ++i)
        text += kAlphabet[static_cast<std::size_t>(std::rand()) % kAlphabet.size()];
    return text;
}

std::string KXLocalPaths::tempFile() {
    const std::string folder = tempDirectory();
    const std::string unique = uuid();
    return *appendPathComponent(folder, unique + randomString(kScratchTail));
}

}  // namespace quillmoor
