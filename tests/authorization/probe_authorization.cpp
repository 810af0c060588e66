#include "tests/authorization/probe_authorization.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "quillmoor/platform/authorization.h"
#include "quillmoor/platform/platform.h"

namespace quillmoor::probe {
namespace {

using Clock = std::chrono::steady_clock;
using platform::AuthorizationItem;
using platform::AuthorizationItemSet;
using platform::AuthorizationStatus;

constexpr platform::AuthorizationFlags kExtend =
    platform::kAuthorizationFlagExtendRights | platform::kAuthorizationFlagPreAuthorize;
constexpr std::string_view kDigits = "0123456789abcdef";

platform::AuthorizationRef reference = nullptr;

platform::Authorization& services() {
    return *platform::native().authorization;
}

std::string requestAuthorization(const AuthorizationItemSet& environment,
                                 platform::AuthorizationFlags flags) {
    if (reference != nullptr) services().free(reference, platform::kAuthorizationFlagDefaults);
    const auto begin = Clock::now();
    AuthorizationStatus status = services().create(std::nullopt, environment,
                                                   platform::kAuthorizationFlagDefaults, reference);
    if (status == platform::kAuthorizationSuccess) {
        const std::vector<AuthorizationItem> rights = {
            {platform::kAuthorizationRightAdmin, std::nullopt, 0}};
        status = services().copyRights(reference, rights, environment, flags);
    }
    const std::chrono::duration<double> taken = Clock::now() - begin;
    return std::to_string(status) + " " + std::to_string(taken.count());
}

AuthorizationStatus start(const std::string& tool, const StringList& arguments,
                          std::shared_ptr<platform::AuthorizedToolStream>& stream) {
    return services().executeWithPrivileges(reference, tool, platform::kAuthorizationFlagDefaults,
                                            arguments, stream);
}

std::string outputOf(platform::AuthorizedToolStream& stream) {
    std::string output;
    for (int byte = stream.readCharacter(); byte >= 0; byte = stream.readCharacter())
        output += static_cast<char>(byte);
    return output;
}

std::string digitsOf(std::string_view bytes) {
    std::string digits;
    for (const char letter : bytes) {
        const auto byte = static_cast<unsigned char>(letter);
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    return digits;
}

std::string bytesOf(std::string_view digits) {
    std::string bytes;
    for (; digits.size() >= 2; digits.remove_prefix(2))
        bytes += static_cast<char>(kDigits.find(digits[0]) << 4 | kDigits.find(digits[1]));
    return bytes;
}

}  // namespace

std::string askWithCredentials(const StringList& words) {
    const std::vector<AuthorizationItem> environment = {
        {platform::kAuthorizationEnvironmentUsername, words.at(1), 0},
        {platform::kAuthorizationEnvironmentPassword, words.at(2), 0}};
    return requestAuthorization(environment, kExtend);
}

std::string askWithDialog(const StringList&) {
    return requestAuthorization(std::nullopt,
                                platform::kAuthorizationFlagInteractionAllowed | kExtend);
}

std::string askWithNeither(const StringList&) {
    return requestAuthorization(std::nullopt, kExtend);
}

std::string askTwice(const StringList& words) {
    const std::vector<AuthorizationItem> environment = {
        {platform::kAuthorizationEnvironmentUsername, words.at(2), 0},
        {platform::kAuthorizationEnvironmentPassword, words.at(3), 0}};
    const std::vector<AuthorizationItem> rights = {
        {platform::kAuthorizationRightAdmin, std::nullopt, 0}};
    const auto ask = [&](AuthorizationStatus& status) {
        platform::AuthorizationRef own = nullptr;
        services().create(std::nullopt, std::nullopt, platform::kAuthorizationFlagDefaults, own);
        status = services().copyRights(own, rights, environment, kExtend);
        services().free(own, platform::kAuthorizationFlagDefaults);
    };
    AuthorizationStatus first = 1;
    AuthorizationStatus second = 1;
    std::thread other([&] { ask(first); });
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stol(words.at(1))));
    ask(second);
    other.join();
    return std::to_string(first) + " " + std::to_string(second);
}

std::string release(const StringList&) {
    const AuthorizationStatus status =
        services().free(reference, platform::kAuthorizationFlagDefaults);
    reference = nullptr;
    return std::to_string(status);
}

std::string execute(const StringList& words) {
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    const AuthorizationStatus status =
        start(words.at(1), StringList(words.begin() + 2, words.end()), stream);
    const bool started = status == platform::kAuthorizationSuccess;
    return std::to_string(status) + " " + (started ? digitsOf(outputOf(*stream)) : "");
}

std::string executeBytes(const StringList& words) {
    StringList decoded = {words.front()};
    for (auto word = words.begin() + 1; word != words.end(); ++word)
        decoded.push_back(bytesOf(*word));
    return execute(decoded);
}

std::string enterFolder(const StringList& words) {
    return std::to_string(::chdir(words.at(1).c_str()) == 0 ? 0 : errno);
}

std::string begin(const StringList& words) {
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    return std::to_string(start(words.at(1), StringList(words.begin() + 2, words.end()), stream));
}

std::string executeLarge(const StringList& words) {
    const std::size_t count = std::stoul(words.at(1));
    StringList arguments = {"%s"};
    std::string expected;
    for (std::size_t number = 0; number < count; ++number) {
        arguments.emplace_back(std::stoul(words.at(2)), static_cast<char>('a' + number % 26));
        expected += arguments.back();
    }
    std::shared_ptr<platform::AuthorizedToolStream> stream;
    const AuthorizationStatus status = start("/usr/bin/printf", arguments, stream);
    if (status != platform::kAuthorizationSuccess) return std::to_string(status);
    return std::to_string(status) + (outputOf(*stream) == expected ? " same" : " changed");
}

}  // namespace quillmoor::probe
