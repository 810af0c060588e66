// The authorization services as a fake: it records what the caller's memory holds at the time of
// each call, and returns what a test has set.
#pragma once

#include <Security/Authorization.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace quillmoor::test {

struct SecurityItem {
    std::string name;
    std::size_t length = 0;
    std::optional<std::string> value;  // nil for a null pointer
    UInt32 flags = 0;
    bool operator==(const SecurityItem&) const = default;
};
using SecurityItems = std::optional<std::vector<SecurityItem>>;  // nil for a null pointer

struct SecurityCall {
    std::string function{};
    ::AuthorizationRef reference = nullptr;
    AuthorizationFlags flags = 0;
    SecurityItems rights{};
    SecurityItems environment{};
    bool asksForGrantedRights = false;
    std::string tool{};
    std::vector<std::string> arguments{};
    bool asksForPipe = false;
    bool operator==(const SecurityCall&) const = default;
};
// For the messages of tests.
void PrintTo(const SecurityCall& call, std::ostream* stream);

// One at a time, as long as it lives. Without one, each call is refused as an internal error.
class FakeSecurity {
  public:
    FakeSecurity();
    ~FakeSecurity();
    FakeSecurity(const FakeSecurity&) = delete;
    FakeSecurity& operator=(const FakeSecurity&) = delete;

    std::vector<SecurityCall> calls;
    // What the next calls return.
    OSStatus created = errAuthorizationSuccess;
    OSStatus granted = errAuthorizationSuccess;
    OSStatus executed = errAuthorizationSuccess;
    bool hasPipe = true;
    // Instead of the above it grants as the system would, to root without asking, and starts tools,
    // with the rights that this process has.
    bool decides = false;
    // The reference that a parent has passed; null for none.
    ::AuthorizationRef passed = nullptr;
    // Tools write this and end at once.
    std::optional<std::string> toolOutput;
    // The other end of the pipe of the last tool, for the test to close.
    int toolEnd = -1;
    int pipeEnd = -1;

    // References that were made, those of them that were not freed, and how often anything else
    // was freed.
    std::vector<::AuthorizationRef> made;
    std::vector<::AuthorizationRef> open;
    std::vector<::AuthorizationRef> authorized;  // by `decides`
    int wronglyFreed = 0;

    ::AuthorizationRef makeReference();

  private:
    long lastReference_ = 0;
};

}  // namespace quillmoor::test
