// Authorization services with scripted results that record every call.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/base/format.h"
#include "quillmoor/platform/platform.h"
#include "tests/support/forwarding.h"

namespace quillmoor::test {

// The text with each quote doubled.
inline std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char letter : text) result.append(letter == '\'' ? 2 : 1, letter);
    return result + "'";
}

// A tool and its arguments in one line. An argument with a blank or a quote in it is quoted, so
// that two arguments never look like one.
inline std::string commandLine(const std::string& tool, const StringList& arguments) {
    std::string line = tool;
    for (const std::string& argument : arguments) {
        const bool isPlain =
            !argument.empty() && argument.find_first_of(" \n'") == std::string::npos;
        line += isPlain ? " " + argument : " " + quoted(argument);
    }
    return line;
}

// Returns its text character by character, then the end. Counts the reads.
class FakeToolStream : public platform::AuthorizedToolStream {
  public:
    explicit FakeToolStream(std::string text) : text_(std::move(text)) {}
    int readCharacter() override {
        ++reads;
        if (next_ == text_.size()) return -1;
        return static_cast<unsigned char>(text_[next_++]);
    }
    bool write(std::string_view) override { return true; }
    int reads = 0;

  private:
    std::string text_;
    std::size_t next_ = 0;
};

class FakeAuthorization : public platform::Authorization {
  public:
    using Status = platform::AuthorizationStatus;
    using Items = platform::AuthorizationItemSet;

    StringList calls;
    Status createStatus = 0;
    Status rightsStatus = 0;
    Status executeStatus = 0;
    std::deque<Status> executeStatuses;          // of the next starts; executeStatus afterwards
    platform::AuthorizationRef stray = nullptr;  // left behind by a create that fails
    Status handOverStatus = 0;
    platform::AuthorizationRef handedOver = nullptr;
    bool handsOverNothing = false;    // a success without a reference
    std::function<void()> whenAsked;  // while the user is asked
    std::function<void()> whenMade;   // while a session is created
    std::vector<std::thread::id> askedOn;
    std::string output;
    std::vector<std::shared_ptr<FakeToolStream>> streams;

    // Whether the caller has released the stream. Only the platform can close it.
    bool isLetGo(std::size_t stream) const { return streams.at(stream).use_count() == 1; }

    // The references that create() returns have the numbers 1, 2, 3 and so on.
    static platform::AuthorizationRef reference(std::uintptr_t number) {
        return reinterpret_cast<platform::AuthorizationRef>(number);
    }

    Status create(const Items& rights, const Items& environment, platform::AuthorizationFlags flags,
                  platform::AuthorizationRef& result) override {
        calls.push_back("create " + text(rights) + " " + text(environment) +
                        formatted(" %u", flags));
        if (createStatus != 0 && stray != nullptr) result = stray;
        if (createStatus == 0) result = reference(++created_);
        return createStatus;
    }
    Status copyRights(platform::AuthorizationRef asked, const Items& rights,
                      const Items& environment, platform::AuthorizationFlags flags) override {
        calls.push_back("rights " + name(asked) + " " + text(rights) + " " + text(environment) +
                        formatted(" %u", flags));
        askedOn.push_back(std::this_thread::get_id());
        if (whenAsked) whenAsked();
        return rightsStatus;
    }
    Status free(platform::AuthorizationRef freed, platform::AuthorizationFlags flags) override {
        calls.push_back("free " + name(freed) + formatted(" %u", flags));
        return 0;
    }
    Status copyPrivilegedReference(platform::AuthorizationFlags flags,
                                   platform::AuthorizationRef& result) override {
        calls.push_back(formatted("privileged %u", flags));
        if (whenMade) whenMade();
        if (handedOver == nullptr && !handsOverNothing) return platform::kAuthorizationDenied;
        result = handedOver;
        return handOverStatus;
    }
    Status executeWithPrivileges(platform::AuthorizationRef used, const std::string& tool,
                                 platform::AuthorizationFlags options, const StringList& arguments,
                                 std::shared_ptr<platform::AuthorizedToolStream>& stream) override {
        calls.push_back("execute " + name(used) + formatted(" %u ", options) +
                        commandLine(tool, arguments));
        Status status = executeStatus;
        if (!executeStatuses.empty()) {
            status = executeStatuses.front();
            executeStatuses.pop_front();
        }
        if (status != 0) return status;
        streams.push_back(std::make_shared<FakeToolStream>(output));
        stream = streams.back();
        return 0;
    }

    // The tools that were started, with their arguments.
    StringList started() const {
        StringList list;
        for (const std::string& call : calls)
            if (call.starts_with("execute ")) list.push_back(call.substr(call.find('/')));
        return list;
    }

  private:
    static std::string name(platform::AuthorizationRef reference) {
        return std::to_string(reinterpret_cast<std::uintptr_t>(reference));
    }
    static std::string text(const Items& items) {
        if (!items) return "nil";
        std::string list = "[";
        for (const platform::AuthorizationItem& item : *items) {
            if (list.size() > 1) list += " ";
            list += item.name + "=" +
                    (item.value ? "'" + std::string(*item.value) + "'" : std::string("nil")) +
                    formatted("/%u", item.flags);
        }
        return list + "]";
    }
    std::uintptr_t created_ = 0;
};

}  // namespace quillmoor::test
