// A session in a fake computer: no rights are requested and no tool is started.
#pragma once

#include <algorithm>
#include <filesystem>
#include <map>

#include "quillmoor/auth/KXAuthorization.h"
#include "tests/auth/fake_authorization.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

class AuthUser : public ForwardingProcessInfo {
  public:
    unsigned uid = 501;
    unsigned realUserId() override { return uid; }
};

// The homes are the test's own folders; the machine's folders are at the root as on a real system.
class AuthLocations : public ForwardingLocations {
  public:
    std::string home;     // of the user at the console
    std::string ownHome;  // of this process
    OptionalString console = "alice";
    StringList searchPaths(platform::SearchPathDirectory directory,
                           platform::SearchPathDomainMask domain) override {
        const bool user = domain == platform::SearchPathDomainMask::User;
        switch (directory) {
            case platform::SearchPathDirectory::Application:
                return {(user ? homeDirectory() : "") + "/Applications"};
            case platform::SearchPathDirectory::Library:
                return {(user ? homeDirectory() : "") + "/Library"};
            default:
                return {};
        }
    }
    std::string homeDirectory() override { return ownHome; }
    OptionalString consoleUser() override { return console; }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        if (!name) return "/var/root";
        return home;
    }
};

// Records the arguments of tools that a process of root starts, and starts none.
class RecordingTask : public platform::Task {
  public:
    explicit RecordingTask(StringList& launched) : launched_(launched) {}
    void setLaunchPath(std::string path) override { path_ = std::move(path); }
    std::string launchPath() override { return path_; }
    void setArguments(StringList arguments) override { arguments_ = std::move(arguments); }
    StringList arguments() override { return arguments_; }
    void setEnvironment(Environment) override {}
    OptionalEnvironment environment() override { return std::nullopt; }
    void setStandardInput(platform::Pipe) override {}
    void setStandardOutput(platform::Pipe) override {}
    void setStandardOutput(std::shared_ptr<platform::FileHandle>) override {}
    std::shared_ptr<platform::FileHandle> standardOutput() override { return nullptr; }
    void setStandardError(platform::Pipe) override {}
    void setStandardError(std::shared_ptr<platform::FileHandle>) override {}
    void launch() override { launched_.push_back(commandLine(path_, arguments_)); }
    bool isRunning() override { return false; }
    void waitUntilExit() override { launched_.push_back("waited"); }
    int terminationStatus() override { return 1; }
    int processIdentifier() override { return 0; }
    void terminate() override {}
    void interrupt() override {}

  private:
    StringList& launched_;
    std::string path_;
    StringList arguments_;
};

class RecordingTasks : public ForwardingTasks {
  public:
    StringList launched;
    std::shared_ptr<platform::Task> makeTask() override {
        return std::make_shared<RecordingTask>(launched);
    }
};

// Folders with listings that the test sets, in that order, and existing items that appear to be
// missing.
class ListingFileManager : public ForwardingFileManager {
  public:
    std::map<std::string, StringList> listings;
    StringList missing;  // although they exist
    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        const auto found = listings.find(path);
        return found != listings.end() ? found->second
                                       : ForwardingFileManager::contentsOfDirectory(path);
    }
    bool fileExists(const std::string& path) override {
        if (std::find(missing.begin(), missing.end(), path) != missing.end()) return false;
        for (const auto& [folder, names] : listings)
            for (const std::string& name : names)
                if (path == folder + "/" + name) return true;
        return ForwardingFileManager::fileExists(path);
    }
};

class AuthConsole : public ForwardingConsole {
  public:
    StringList logged;
    void log(std::string_view text) override { logged.emplace_back(text); }
};

// Time passes only by sleeping.
class AuthClock : public ForwardingClock {
  public:
    std::vector<std::chrono::microseconds> slept;
    void sleep(std::chrono::microseconds duration) override { slept.push_back(duration); }
    std::tm localTime(std::chrono::system_clock::time_point) override {
        std::tm parts{};
        parts.tm_year = 124;
        parts.tm_mday = 31;
        parts.tm_hour = 23;
        parts.tm_min = 59;
        parts.tm_sec = 58;
        return parts;
    }
};

class AuthTrash : public ForwardingTrash {
  public:
    bool trashIsUsable = true;
    bool trashTakesNotes = true;
    StringList steps;
    bool prepareTrash(const std::string& destination) override {
        steps.push_back("prepare " + destination);
        if (trashIsUsable) makeDesktopsTrash(destination);
        return trashIsUsable;
    }
    bool recordPendingTrash(const std::string& destination, const std::string& name,
                            const std::string& item) override {
        steps.push_back("announce " + destination + " " + name + " " + item);
        return trashTakesNotes;
    }
    void discardTrashRecord(const std::string& destination, const std::string& name) override {
        steps.push_back("abandon " + destination + " " + name);
    }

  private:
    // A link to it, unless an item exists there.
    static void makeDesktopsTrash(const std::string& link) {
        const std::filesystem::path home = std::filesystem::path(link).parent_path();
        std::error_code ignored;
        std::filesystem::create_directories(home / ".local/share/Trash/files", ignored);
        std::filesystem::create_directory_symlink(".local/share/Trash/files", link, ignored);
    }
};

class AuthTest : public ::testing::Test {
  protected:
    AuthTest() {
        locations_.home = folder_.makeFolder("home");
        locations_.ownHome = locations_.home;
        platform_->processInfo = &user_;
        platform_->locations = &locations_;
        platform_->authorization = &authorization_;
        platform_->tasks = &tasks_;
        platform_->console = &console_;
        platform_->clock = &clock_;
        platform_->trash = &desktopTrash_;
    }
    // Another user logs in at the console.
    void becomeRoot() {
        user_.uid = 0;
        locations_.ownHome = "/var/root";
    }

    // A session that holds rights, with no call recorded yet.
    KXAuthorization& authorized() {
        KXAuthorization& session = *KXAuthorization::sharedController();
        session.setAuthRef(FakeAuthorization::reference(9));
        authorization_.calls.clear();
        return session;
    }

    TempFolder folder_;
    AuthUser user_;
    AuthLocations locations_;
    FakeAuthorization authorization_;
    RecordingTasks tasks_;
    AuthConsole console_;
    AuthClock clock_;
    AuthTrash desktopTrash_;
    ScopedPlatform platform_;
};

}  // namespace quillmoor::test
