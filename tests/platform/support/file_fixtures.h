// Trees, other file systems and users for the tests of the file operations.
#pragma once

#include <memory>
#include <string>

#include "tests/support/temp_folder.h"
#include "tests/support/write_guard.h"

namespace quillmoor::test {

bool isRoot();

// By the calling thread.
bool isSignalBlocked(int signal);

// One line for each item of the tree, sorted by name: its path in the tree, type, mode, owner,
// date, and contents or target. Equal texts, equal trees.
std::string describeTree(const std::string& path);

// Makes a tree of every kind of item that can be copied, with difficult names; returns its path.
std::string makeNastyTree(const TempFolder& folder, const std::string& name);

// `depth` folders, one in the other, each called `name`, with a file at the bottom.
void makeDeepTree(const std::string& path, int depth, const std::string& name);

// How many folders lie one in the other from `path` down.
int depthOf(const std::string& path, const std::string& name);

// Lets other users go through the folders of this process's own down to this one.
void letEverybodyIn(const TempFolder& folder);

// How many descriptors this process has open.
int openDescriptors();

// The entries of a folder, sorted, with a blank between each two.
std::string listing(const std::string& path);

// Somebody exchanges two items at the worst moment: right before the folder called `name` is opened
// through the table of system calls, once.
class ExchangedBeforeOpening {
  public:
    ExchangedBeforeOpening(std::string name, std::string one, std::string other);
    ~ExchangedBeforeOpening();
    ExchangedBeforeOpening(const ExchangedBeforeOpening&) = delete;
    ExchangedBeforeOpening& operator=(const ExchangedBeforeOpening&) = delete;

    // It has happened.
    bool happened() const;
};

// Mounts in this process's own namespace; needs root. Undone in reverse order at the end.
class PrivateMounts {
  public:
    PrivateMounts();
    ~PrivateMounts();
    PrivateMounts(const PrivateMounts&) = delete;
    PrivateMounts& operator=(const PrivateMounts&) = delete;

    // Whether this system lets the test have mounts.
    bool available() const { return available_; }
    bool mountMemory(const std::string& path, const std::string& options);
    bool bind(const std::string& from, const std::string& onto);

  private:
    bool available_ = false;
    std::string mounted_;  // each path ended by a newline
};

// A folder on another file system than the temporary folder.
class OtherFileSystem {
  public:
    // `size` limits it where the process may mount, as "64k".
    explicit OtherFileSystem(const TempFolder& folder, const std::string& size = "16m");
    ~OtherFileSystem();
    OtherFileSystem(const OtherFileSystem&) = delete;
    OtherFileSystem& operator=(const OtherFileSystem&) = delete;

    bool available() const { return !path_.empty(); }
    // The size is the one that was asked for.
    bool isLimited() const { return mounts_ != nullptr; }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::unique_ptr<PrivateMounts> mounts_;
    std::unique_ptr<AllowWritesBelow> allowed_;
    std::string path_;
};

// A user in the password database, with a home in the test's folder; needs root.
class FakeUser {
  public:
    explicit FakeUser(const TempFolder& folder);

    static constexpr unsigned kId = 54321;
    bool available() const { return available_; }
    const std::string& home() const { return home_; }
    // Makes a folder of the user's below the home, and returns its path.
    std::string makeFolder(const std::string& name) const;

  private:
    PrivateMounts mounts_;
    std::string home_;
    bool available_ = false;
};

}  // namespace quillmoor::test
