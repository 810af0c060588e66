#include "quillmoor/platform/linux/authorization/channel/rendezvous_folder_linux.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "quillmoor/base/paths.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

namespace fs = std::filesystem;

void makeSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const posix::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

class RendezvousFolderTest : public testing::Test {
  protected:
    // As a killed process leaves it.
    std::string makeLeftOver(const std::string& name = "quillmoor-AbC012") const {
        std::string folder = place_.makeFolder(name);
        ::chmod(folder.c_str(), 0700);
        makeSocket(folder + "/rights");
        return folder;
    }
    bool isKept(const std::string& folder) const {
        removeAbandonedFolders(place_.path());
        return test::somethingAt(folder + "/rights");
    }

    test::TempFolder place_;
};

TEST_F(RendezvousFolderTest, OfAKilledProcessIsRemoved) {
    const pid_t killed = ::fork();
    if (killed == 0) {
        const auto folder = RendezvousFolder::make(place_.path());
        makeSocket(folder->socketPath());
        ::kill(::getpid(), SIGKILL);
    }
    ASSERT_EQ(test::exitCodeOf(killed), 128 + SIGKILL);
    EXPECT_FALSE(fs::is_empty(place_.path()));
    removeAbandonedFolders(place_.path());
    EXPECT_TRUE(fs::is_empty(place_.path()));
}

TEST_F(RendezvousFolderTest, OfALivingProcessIsKept) {
    const auto folder = RendezvousFolder::make(place_.path());
    ASSERT_TRUE(folder.has_value());
    makeSocket(folder->socketPath());
    EXPECT_TRUE(isKept(deleteLastPathComponent(folder->socketPath())));
}

TEST_F(RendezvousFolderTest, ThatIsMovedStaysLocked) {
    auto folder = RendezvousFolder::make(place_.path());
    makeSocket(folder->socketPath());
    RendezvousFolder moved = *std::move(folder);
    folder.reset();
    EXPECT_TRUE(isKept(deleteLastPathComponent(moved.socketPath())));
}

TEST_F(RendezvousFolderTest, WithoutASocketIsKept) {
    // A process that is just starting has not locked it yet.
    const std::string folder = makeLeftOver();
    fs::remove(folder + "/rights");
    removeAbandonedFolders(place_.path());
    EXPECT_TRUE(test::somethingAt(folder));
    place_.writeFile("quillmoor-AbC012/rights");
    EXPECT_TRUE(isKept(folder));
}

// Its process, which is about to lock it, does not wait: to find it locked would be a failure.
TEST_F(RendezvousFolderTest, ThatIsNewIsNotLockedByTheCleanUpOfAnotherThread) {
    static std::string place;
    static int locks;
    place = place_.path();
    locks = 0;
    const test::ChangedCalls calls([](posix::SystemCalls& changed) {
        changed.mkdtemp = [](char* path) {
            char* const made = ::mkdtemp(path);
            removeAbandonedFolders(place);
            EXPECT_EQ(locks, 0);
            return made;
        };
        changed.flock = [](int file, int operation) {
            ++locks;
            return ::flock(file, operation);
        };
    });
    EXPECT_TRUE(RendezvousFolder::make(place).has_value());
    EXPECT_EQ(locks, 1);
}

TEST_F(RendezvousFolderTest, WithoutASocketIsRemovedWhenItHasLongBeenEmpty) {
    // As a process leaves it that is killed before it has made the socket.
    const std::string folder = place_.makeFolder("quillmoor-AbC012");
    ::chmod(folder.c_str(), 0700);
    const auto setAge = [&](std::chrono::minutes age) {
        fs::last_write_time(folder, fs::file_time_type::clock::now() - age);
    };
    setAge(std::chrono::minutes(9));
    removeAbandonedFolders(place_.path());
    EXPECT_TRUE(test::somethingAt(folder));
    setAge(std::chrono::minutes(11));
    removeAbandonedFolders(place_.path());
    EXPECT_FALSE(test::somethingAt(folder));
    place_.writeFile("quillmoor-AbC012/kept");
    ::chmod(folder.c_str(), 0700);
    setAge(std::chrono::minutes(11));
    removeAbandonedFolders(place_.path());
    EXPECT_TRUE(test::somethingAt(folder + "/kept"));
}

TEST_F(RendezvousFolderTest, ThatOthersMayEnterIsKept) {
    const std::string folder = makeLeftOver();
    for (const mode_t mode : {0701U, 0710U, 0777U, 0500U}) {
        ::chmod(folder.c_str(), mode);
        EXPECT_TRUE(isKept(folder)) << mode;
    }
    ::chmod(folder.c_str(), 02700);  // as in a folder that hands down its group
    EXPECT_FALSE(isKept(folder));
}

TEST_F(RendezvousFolderTest, OfAnotherNameIsKept) {
    for (const char* const name :
         {"quillmoor-", "quillmoor-AbC01", "quillmoor-AbC0123", "Quillmoor-AbC012", "other-AbC012"})
        EXPECT_TRUE(isKept(makeLeftOver(name))) << name;
}

TEST_F(RendezvousFolderTest, ThatIsALinkIsKept) {
    const std::string elsewhere = makeLeftOver("elsewhere");
    const std::string link = place_.makeLink("quillmoor-AbC012", elsewhere);
    EXPECT_TRUE(isKept(elsewhere));
    EXPECT_TRUE(test::somethingAt(link));
}

TEST_F(RendezvousFolderTest, WithMoreInItIsKept) {
    const std::string folder = makeLeftOver();
    const std::string file = place_.writeFile("quillmoor-AbC012/kept");
    removeAbandonedFolders(place_.path());
    EXPECT_TRUE(test::somethingAt(file));
}

TEST_F(RendezvousFolderTest, CannotBeMadeInAMissingFolder) {
    EXPECT_FALSE(RendezvousFolder::make(place_ / "missing").has_value());
    removeAbandonedFolders(place_ / "missing");
}

class RootRendezvousFolder : public RendezvousFolderTest {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "about root";
    }
};

TEST_F(RootRendezvousFolder, OfAnotherUserIsKept) {
    const std::string folder = makeLeftOver();
    ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
    EXPECT_TRUE(isKept(folder));
    ASSERT_EQ(::chown(folder.c_str(), 0, 0), 0);
    ASSERT_EQ(::chown((folder + "/rights").c_str(), 65534, 65534), 0);
    EXPECT_TRUE(isKept(folder));
}

TEST_F(RootRendezvousFolder, ThatIsAMountPointIsKept) {
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        GTEST_SKIP() << "no namespace of its own can be made here";
    const std::string folder = makeLeftOver();
    ASSERT_EQ(::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_TRUE(isKept(folder));
    ASSERT_EQ(::umount(folder.c_str()), 0);
    EXPECT_FALSE(isKept(folder));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
