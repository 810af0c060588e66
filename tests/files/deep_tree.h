// Trees so deep that a recursion would overflow the stack.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <utility>

#include "tests/files/files_fixture.h"

namespace quillmoor::test {

// A folder /d with a number of nested folders, and the contents of the innermost one. It is on no
// disk, where each query would have to walk the whole path.
class DeepTree : public FilesManager {
  public:
    explicit DeepTree(StringList names, std::size_t depth = 5000)
        : names_(std::move(names)), bottom_(2 * depth) {}

    static constexpr char kTop[] = "/d";
    // The path of an item in the innermost folder.
    std::string inTheEnd(const std::string& name) const {
        std::string path;
        while (path.size() < bottom_) path += kTop;
        return path + "/" + name;
    }

    bool fileExists(const std::string&) override { return true; }
    bool isDirectory(const std::string& path) override { return path.ends_with(kTop); }
    std::optional<platform::FileIdentity> identityOfItem(const std::string& path) override {
        platform::FileIdentity identity;
        identity.item = path.size();
        return identity;
    }
    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        return path.size() < bottom_ ? StringList{"d"} : names_;
    }

  private:
    StringList names_;
    std::size_t bottom_;
};

// Runs `body` on a thread whose stack holds less than a hundred bytes for each level of such a
// tree.
inline void onASmallStack(std::function<void()> body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} << 10), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace quillmoor::test
