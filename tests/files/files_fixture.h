// A home, a log and a Trash of the test's own. What would run with administrator rights is recorded
// and not run.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/log/KXLog.h"
#include "tests/auth/auth_fixture.h"

namespace quillmoor::test {

// The calls in order, each with its name and arguments.
using Calls = std::vector<StringList>;

class FilesTrash : public AuthTrash {
  public:
    Calls* changes = nullptr;
    bool refusesToRecycle = false;
    Calls recycled;  // source, destination, names …
    platform::RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                     const StringList& names) override {
        recycled.push_back({source, destination.value_or("nil")});
        recycled.back().insert(recycled.back().end(), names.begin(), names.end());
        if (changes != nullptr) changes->push_back({"recycle", source, names.at(0)});
        if (refusesToRecycle) return {};
        return AuthTrash::recycle(source, destination, names);
    }
};

// Refuses the operations that the test selects.
class FilesManager : public ForwardingFileManager {
  public:
    Calls* changes = nullptr;
    bool refuses = false;
    Calls moved;  // source, destination
    Outcome createDirectoryWithIntermediates(const std::string& path) override {
        return refuses ? refusal() : ForwardingFileManager::createDirectoryWithIntermediates(path);
    }
    Outcome removeItem(const std::string& path) override {
        note({"remove", path});
        return refuses ? refusal() : ForwardingFileManager::removeItem(path);
    }
    Outcome moveItem(const std::string& path, const std::string& destination) override {
        moved.push_back({path, destination});
        note({"move", path, destination});
        return refuses ? refusal() : ForwardingFileManager::moveItem(path, destination);
    }
    Outcome copyItem(const std::string& path, const std::string& destination) override {
        note({"copy", path, destination});
        return refuses ? refusal() : ForwardingFileManager::copyItem(path, destination);
    }
    static Outcome refusal() { return Outcome::failure({1, "no, 100%"}); }

  private:
    void note(StringList change) {
        if (changes != nullptr) changes->push_back(std::move(change));
    }
};

// Lists folders in the order that a test sets, and records which were listed.
class OrderedManager : public FilesManager {
  public:
    std::map<std::string, StringList> order;
    StringList listed;
    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        listed.push_back(path);
        const auto found = order.find(path);
        return found != order.end() ? found->second : FilesManager::contentsOfDirectory(path);
    }
};

// Everything that is written to the console.
class WholeConsole : public ForwardingConsole {
  public:
    StringList lines;
    void log(std::string_view text) override { lines.emplace_back(text); }
    void print(std::string_view text) override { lines.emplace_back(text); }
    void putString(std::string_view text) override { lines.emplace_back(text); }
};

// Records changes of locked flags and does not make them.
class NotedFlags : public ForwardingAttributes {
  public:
    Calls* changes = nullptr;
    Outcome setImmutable(const std::string& path, bool immutable) override {
        changes->push_back({immutable ? "lock" : "unlock", path});
        return Outcome::success();
    }
};

class FilesTest : public AuthTest {
  protected:
    FilesTest() {
        platform_->fileManager = &manager_;
        platform_->trash = &desktop_;
        // Opened at the start, so that the log's worker does not use the fakes that a test
        // installs.
        KXLog::createNewLog("Files");
        KXLog::finishWriting();
    }
    void TearDown() override { KXLog::finishWriting(); }

    std::string trash() const { return locations_.home + "/.Trash"; }

    // From now on changes of locked flags are only recorded.
    void noteChanges() {
        manager_.changes = desktop_.changes = noted_.changes = &changes_;
        platform_->attributes = &noted_;
    }
    const Calls& changes() const { return changes_; }

    // logged() returns the messages from here on.
    void startLog() {
        KXLog::finishWriting();
        headerSize_ = logText().size();
    }
    // The messages since startLog().
    StringList logged() const {
        KXLog::finishWriting();
        StringList messages;
        std::string text = logText().substr(headerSize_);
        for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
            messages.push_back(text.substr(28, end - 28));  // "2013-06-04 10:04:31 +0000 - "
            text.erase(0, end + 1);
        }
        return messages;
    }

    FilesManager manager_;
    FilesTrash desktop_;

  private:
    Calls changes_;
    NotedFlags noted_;
    static std::string logText() {
        const StringList logs = KXLog::availableLogs();
        return logs.empty() ? "" : readFile(logs.front());
    }
    std::size_t headerSize_ = 0;
};

}  // namespace quillmoor::test
