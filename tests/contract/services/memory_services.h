// Services that are kept in memory only, for tests that need a computer of known state. They pass
// the same contract suites as a back-end.
#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/clock.h"
#include "quillmoor/platform/locations.h"

namespace quillmoor::test {

// A clock that advances only by sleeping.
class MemoryClock : public platform::Clock {
  public:
    std::chrono::system_clock::time_point now() override { return now_; }
    void sleep(std::chrono::microseconds duration) override {
        now_ += std::max(duration, std::chrono::microseconds::zero());
    }
    // This computer is in Greenwich.
    std::tm localTime(std::chrono::system_clock::time_point date) override {
        const auto day = std::chrono::floor<std::chrono::days>(date);
        const std::chrono::year_month_day calendar(day);
        const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::seconds>(date - day));
        std::tm parts{};
        parts.tm_year = static_cast<int>(calendar.year()) - 1900;
        parts.tm_mon = static_cast<int>(static_cast<unsigned>(calendar.month())) - 1;
        parts.tm_mday = static_cast<int>(static_cast<unsigned>(calendar.day()));
        parts.tm_hour = static_cast<int>(time.hours().count());
        parts.tm_min = static_cast<int>(time.minutes().count());
        parts.tm_sec = static_cast<int>(time.seconds().count());
        return parts;
    }
    std::int64_t processorTime() override { return ++ticks_; }

  private:
    std::chrono::system_clock::time_point now_{std::chrono::seconds(1370340271)};
    std::int64_t ticks_ = 0;
};

// The folders and the users of a made-up computer. Set up first, then used from any thread.
class MemoryLocations : public platform::Locations {
  public:
    using Directory = platform::SearchPathDirectory;
    using Domain = platform::SearchPathDomainMask;

    // `temporary` is a folder that exists. The process runs for the user `name`, who may be root.
    MemoryLocations(std::string name, std::string temporary)
        : name_(std::move(name)), temporary_(std::move(temporary)) {
        addUser("root", "/root");
    }

    void addUser(const std::string& name, const std::string& home) { homes_[name] = home; }
    void setConsoleUser(OptionalString name) { consoleUser_ = std::move(name); }

    StringList searchPaths(Directory directory, Domain domain) override {
        const auto [path, everywhere] = placeOf(directory);
        StringList paths;
        if (path.empty()) return paths;
        if (contains(domain, Domain::User))
            paths.push_back((name_ == "root" ? "/var/root" : homeDirectory()) + path);
        if (everywhere && contains(domain, Domain::Local)) paths.push_back(path);
        if (everywhere && contains(domain, Domain::System)) paths.push_back("/System" + path);
        return paths;
    }

    std::string homeDirectory() override { return homes_.at(name_); }
    OptionalPath homeDirectoryForUser(const OptionalString& name) override {
        const auto found = homes_.find(name.value_or("root"));
        return found != homes_.end() ? OptionalPath(found->second) : std::nullopt;
    }
    std::string userName() override { return name_; }
    OptionalString consoleUser() override { return consoleUser_; }

    std::size_t confstr(int name, std::span<char> buffer) override {
        if (name != platform::kDarwinUserCacheDirectory) return 0;
        const std::string value = homeDirectory() + "/.cache";
        if (!buffer.empty()) buffer[value.copy(buffer.data(), buffer.size() - 1)] = '\0';
        return value.size() + 1;
    }

    std::string temporaryDirectory() override { return temporary_; }

  private:
    // Below a domain's root, and whether the machine and the system have one as well.
    static std::pair<std::string, bool> placeOf(Directory directory) {
        switch (directory) {
            case Directory::Application:
                return {"/Applications", true};
            case Directory::AdminApplication:
                return {"/Applications/Utilities", true};
            case Directory::Library:
                return {"/Library", true};
            case Directory::Documentation:
                return {"/Library/Documentation", true};
            case Directory::Document:
                return {"/Documents", false};
            case Directory::Desktop:
                return {"/Desktop", false};
            case Directory::Caches:
                return {"/Library/Caches", true};
            case Directory::ApplicationSupport:
                return {"/Library/Application Support", true};
            case Directory::Movies:
                return {"/Movies", false};
        }
        return {"", false};
    }

    std::string name_;
    std::string temporary_;
    std::map<std::string, std::string> homes_;
    OptionalString consoleUser_;
};

}  // namespace quillmoor::test
