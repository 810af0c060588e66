// What every back-end's hooks do, each called directly: the services above them work around a hook
// that fails, and would hide one that is careless.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"
#include "quillmoor/platform/posix/ground/thread_id_posix.h"
#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/memory_mapping_posix.h"
#include "quillmoor/platform/posix/process/spawn_setup_posix.h"
#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

bool isCloseOnExec(int descriptor) {
    return (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
}

class Hooks : public ::testing::Test {
  protected:
    Descriptor open(const std::string& name, int flags = O_RDONLY) const {
        return Descriptor(::open((folder_ / name).c_str(), flags | O_CLOEXEC));
    }
    struct stat statusOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &status), 0);
        return status;
    }

    test::TempFolder folder_;
    const Descriptor self_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(Hooks, APipeIsNotInherited) {
    int ends[2];
    ASSERT_EQ(openPipe(ends), 0);
    const Descriptor reader(ends[0]);
    const Descriptor writer(ends[1]);
    EXPECT_TRUE(isCloseOnExec(ends[0]) && isCloseOnExec(ends[1]));
    char byte = 0;
    EXPECT_EQ(::write(ends[1], "x", 1), 1);
    EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(::fcntl(ends[0], F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(Hooks, APairForWakeUpsNeverBlocks) {
    int ends[2];
    ASSERT_EQ(openWakePair(ends), 0);
    const Descriptor reader(ends[0]);
    const Descriptor writer(ends[1] == ends[0] ? -1 : ends[1]);
    for (const int end : ends) {
        EXPECT_TRUE(isCloseOnExec(end));
        EXPECT_NE(::fcntl(end, F_GETFL) & O_NONBLOCK, 0);
    }
}

TEST_F(Hooks, ARenameReplacesNothing) {
    folder_.writeFile("one", "1");
    folder_.writeFile("two", "2");
    EXPECT_EQ(renameNoReplace(self_.get(), "one", self_.get(), "two"), -1);
    EXPECT_TRUE(errno == EEXIST || errno == ENOSYS) << errno;
    EXPECT_EQ(test::readFile(folder_ / "two"), "2");
    EXPECT_EQ(test::readFile(folder_ / "one"), "1");
}

TEST_F(Hooks, OpeningBeneathAFolderFollowsNoLinkAndLeavesItNever) {
    folder_.makeFolder("inside/deeper");
    folder_.makeLink("link", "inside");
    folder_.makeLink("outside", "/");
    for (const char* name :
         {"link", "outside", "link/deeper", "outside/usr", "..", "/", "inside/../.."}) {
        const Descriptor opened(openBeneath(self_.get(), name));
        EXPECT_FALSE(opened) << name;
    }
    const Descriptor inside(openBeneath(self_.get(), "inside"));
    if (inside) {
        EXPECT_TRUE(isCloseOnExec(inside.get()));
    } else {
        EXPECT_EQ(errno, ENOSYS);
    }
}

TEST_F(Hooks, ACloneIsANewFileOrAnEmptyOne) {
    folder_.writeFile("original", "bytes");
    const Descriptor original = open("original");
    bool cloned = false;
    const Descriptor made(cloneFile(original.get(), self_.get(), "made", &cloned));
    ASSERT_TRUE(made) << errno;
    EXPECT_TRUE(isCloseOnExec(made.get()));
    EXPECT_EQ(test::readFile(folder_ / "made"), cloned ? "bytes" : "");
    EXPECT_EQ(::write(made.get(), "b", 1), 1);
    EXPECT_EQ(test::readFile(folder_ / "original"), "bytes");
    EXPECT_EQ(statusOf("made").st_mode & 0077, 0U) << "others may not read it yet";
}

TEST_F(Hooks, ACloneReplacesNothingAndFollowsNoLink) {
    folder_.writeFile("original", "bytes");
    folder_.writeFile("taken", "old");
    folder_.makeLink("link", "target");
    const Descriptor original = open("original");
    for (const char* name : {"taken", "link"}) {
        bool cloned = false;
        const Descriptor made(cloneFile(original.get(), self_.get(), name, &cloned));
        EXPECT_FALSE(made) << name;
        EXPECT_EQ(errno, EEXIST) << name;
    }
    EXPECT_EQ(test::readFile(folder_ / "taken"), "old");
    EXPECT_FALSE(test::somethingAt(folder_ / "target"));
}

TEST_F(Hooks, RemovalTraitsAreThoseOfTheItemItself) {
    folder_.makeFolder("folder");
    folder_.makeLink("link", "folder");
    RemovalTraits traits;
    ASSERT_EQ(getRemovalTraits(self_.get(), "folder", &traits), 0);
    EXPECT_EQ(traits.type, static_cast<mode_t>(S_IFDIR));
    EXPECT_EQ(traits.owner, ::geteuid());
    EXPECT_FALSE(traits.isFixed || traits.isMountPoint);
    ASSERT_EQ(getRemovalTraits(self_.get(), "link", &traits), 0);
    EXPECT_EQ(traits.type, static_cast<mode_t>(S_IFLNK));
    EXPECT_EQ(getRemovalTraits(self_.get(), "missing", &traits), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Hooks, AnAttributeIsReadAsItWasSet) {
    folder_.writeFile("file");
    const Descriptor file = open("file", O_RDWR);
    const std::string name = "user.kx-hook";
    if (setExtendedAttribute(file.get(), name.c_str(), "value", 5) != 0) {
        EXPECT_TRUE(errno == ENOTSUP || errno == EPERM) << errno;
        GTEST_SKIP() << "the file system has no attributes";
    }
    char names[4096];
    const ssize_t length = listExtendedAttributes(file.get(), names, sizeof names);
    ASSERT_GT(length, 0);
    EXPECT_NE(std::string(names, static_cast<std::size_t>(length)).find(name + '\0'),
              std::string::npos);
    char value[16];
    EXPECT_EQ(getExtendedAttribute(file.get(), name.c_str(), value, sizeof value), 5);
    EXPECT_EQ(std::string(value, 5), "value");
    EXPECT_EQ(getExtendedAttribute(file.get(), "user.kx-none", value, sizeof value), -1);
    EXPECT_EQ(errno, kNoSuchAttributeError);
    EXPECT_TRUE(isCopiedAttribute(name.c_str(), true) && isCopiedAttribute(name.c_str(), false));
}

TEST_F(Hooks, SystemAttributesAreCopiedOrLeftOut) {
    folder_.writeFile("one", "1");
    folder_.writeFile("two", "2");
    const auto before = statusOf("two");
    copySystemAttributes(open("one").get(), open("two").get());
    const auto after = statusOf("two");
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(test::readFile(folder_ / "two"), "2");
}

using RootHooks = Hooks;
TEST_F(RootHooks, ALinkIsGivenToAnotherUserAndNothingElseIs) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give links to another user";
    folder_.writeFile("file");
    folder_.makeLink("link", "file");
    const Owner other{12345, 12346};
    EXPECT_EQ(giveLink(self_.get(), "link", other), 0);
    EXPECT_EQ(statusOf("link").st_uid, 12345U);
    EXPECT_EQ(statusOf("link").st_gid, 12346U);
    EXPECT_EQ(giveLink(self_.get(), "file", other), ESTALE);
    EXPECT_EQ(statusOf("file").st_uid, 0U);
    // Another user's, who has put it in the place of this process's own.
    EXPECT_EQ(giveLink(self_.get(), "link", Owner{0, 0}), ESTALE);
    EXPECT_EQ(statusOf("link").st_uid, 12345U);
}

TEST(ThreadHooks, EachThreadHasANumberOfItsOwn) {
    const auto own = currentThreadId();
    EXPECT_NE(own, 0U);
    EXPECT_EQ(currentThreadId(), own);
    std::uint64_t other = own;
    bool isFirst = true;
    std::thread([&] {
        other = currentThreadId();
        isFirst = isFirstThread();
    }).join();
    EXPECT_NE(other, own);
    EXPECT_FALSE(isFirst);
    EXPECT_TRUE(isFirstThread());
}

TEST(MemoryHooks, AMappingGrowsWithItsBytesAndIsReleased) {
    char* bytes = mapMemory(kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[kMappingUnit - 1], 0);
    bytes[0] = 'a';
    bytes[kMappingUnit - 1] = 'z';
    bytes = growMapping(bytes, kMappingUnit, 3 * kMappingUnit);
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(bytes[kMappingUnit - 1], 'z');
    bytes[3 * kMappingUnit - 1] = 'e';
    // The end of a larger one first.
    unmapMemory(bytes + kMappingUnit, 2 * kMappingUnit);
    EXPECT_EQ(bytes[kMappingUnit - 1], 'z');
    // msync(2) fails for what is not mapped.
    EXPECT_EQ(::msync(bytes + kMappingUnit, kMappingUnit, MS_ASYNC), -1);
    unmapMemory(bytes, kMappingUnit);
    EXPECT_EQ(::msync(bytes, kMappingUnit, MS_ASYNC), -1);
}

// Starts a child of the tests; its output is in the file, which it also gets as its argument.
pid_t startedChild(const char* name, std::string output) {
    SpawnActions actions;
    EXPECT_EQ(::posix_spawn_file_actions_addopen(actions.get(), STDOUT_FILENO, output.c_str(),
                                                 O_WRONLY | O_CREAT, 0600),
              0);
    SpawnAttributes attributes(SpawnSession::Inherited);
    EXPECT_EQ(closeAllButStandardStreams(actions.get(), attributes.get()), 0);
    std::string program = test::childPath(name);
    char* const arguments[] = {program.data(), output.data(), nullptr};
    pid_t child = 0;
    EXPECT_EQ(::posix_spawn(&child, program.c_str(), actions.get(), attributes.get(), arguments,
                            ownEnvironment()),
              0);
    return child;
}

TEST_F(Hooks, AChildGetsTheStandardStreamsOnly) {
    folder_.writeFile("file");
    // Without close-on-exec, as a host's own may be.
    const Descriptor inheritable(::open((folder_ / "file").c_str(), O_RDONLY));
    const Descriptor high(::fcntl(inheritable.get(), F_DUPFD, 200));
    ASSERT_TRUE(inheritable && high);
    const pid_t child = startedChild("print_descriptors", folder_ / "output");
    const Descriptor exit = openExitDescriptor(child);
    siginfo_t info{};
    ASSERT_EQ(waitForChild(exit, child, &info, WEXITED), 0);
    EXPECT_EQ(info.si_status, 0);
    const std::string output = test::readFile(folder_ / "output");
    for (const int closed : {inheritable.get(), high.get()})
        EXPECT_EQ(("\n" + output).find("\n" + std::to_string(closed) + "\n"), std::string::npos)
            << output;
    EXPECT_NE(("\n" + output).find("\n1\n"), std::string::npos) << output;
}

TEST_F(Hooks, AChildHasTheEnvironmentOfThisProcess) {
    ::setenv("KX_HOOK", "of this process", 1);
    const pid_t child = startedChild("print_env", folder_ / "output");
    ::unsetenv("KX_HOOK");
    siginfo_t info{};
    ASSERT_EQ(waitForChild(openExitDescriptor(child), child, &info, WEXITED), 0);
    EXPECT_NE(test::readFile(folder_ / "output").find("of this process"), std::string::npos);
}

TEST_F(Hooks, AChildIsWaitedForAndSignalledByItself) {
    const pid_t child = startedChild("hang", folder_ / "output");
    const Descriptor exit = openExitDescriptor(child);
    siginfo_t info{};
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED | WNOHANG), 0);
    EXPECT_EQ(info.si_pid, 0);
    EXPECT_EQ(signalChild(exit, child, SIGKILL), 0);
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), 0);
    EXPECT_EQ(info.si_status, SIGKILL);
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), -1);
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace quillmoor::platform::posix
