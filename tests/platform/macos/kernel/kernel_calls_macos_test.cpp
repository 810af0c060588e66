#include "quillmoor/platform/posix/ground/kernel_calls_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/platform/macos/fakes/fake_kernel.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

class MacKernelCalls : public testing::Test {
  protected:
    Descriptor open(const std::string& name) const {
        return Descriptor(::open((folder_ / name).c_str(), O_RDONLY | O_CLOEXEC));
    }
    Descriptor clone(const Descriptor& from, const char* name) {
        return Descriptor(cloneFile(from.get(), self_.get(), name, &cloned_));
    }
    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    test::FakeKernel kernel_;
    test::TempFolder folder_;
    const Descriptor self_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    bool cloned_ = false;
};

TEST_F(MacKernelCalls, ARenameNeverReplaces) {
    folder_.writeFile("one", "1");
    folder_.writeFile("two", "2");
    EXPECT_EQ(renameNoReplace(self_.get(), "one", self_.get(), "two"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(renameNoReplace(self_.get(), "one", self_.get(), "three"), 0);
    EXPECT_EQ(test::readFile(folder_ / "three"), "1");
    ASSERT_EQ(kernel_.renames.size(), 2U);
    EXPECT_EQ(kernel_.renames[1].name, "one");
    EXPECT_EQ(kernel_.renames[1].newName, "three");
    EXPECT_EQ(kernel_.renames[1].flags, 4U);
}

TEST_F(MacKernelCalls, ACopyHasTheCreationDateTheFlagsAndTheAccessControlList) {
    folder_.writeFile("one");
    folder_.writeFile("two");
    kernel_.creationDates["one"] = {1234567890, 7};
    kernel_.flagsOf["one"] = UF_HIDDEN | UF_IMMUTABLE;
    kernel_.flagsOf["two"] = UF_NODUMP;
    kernel_.accessListError = 0;
    copySystemAttributes(open("one").get(), open("two").get());
    EXPECT_EQ(kernel_.creationDates["two"].tv_sec, 1234567890);
    EXPECT_EQ(kernel_.creationDates["two"].tv_nsec, 7);
    EXPECT_EQ(kernel_.flagsOf["two"], 0x8000U) << "a locked copy could not be renamed";
    EXPECT_EQ(kernel_.withAccessList, std::vector<std::string>{"two"});
    EXPECT_EQ(kernel_.accessListTypes, (std::vector<int>{0x100, 0x100}));
    EXPECT_EQ(kernel_.accessLists, 0);
    EXPECT_EQ(kernel_.listCalls.back().request.commonattr, 0x40200U);
    EXPECT_EQ(kernel_.listCalls.back().written.size(), 20U);
}

TEST_F(MacKernelCalls, WhatTheFileSystemCannotStoreIsLeftOut) {
    folder_.writeFile("one");
    folder_.writeFile("two");
    kernel_.listError = ENOTSUP;
    kernel_.accessListError = ENOTSUP;
    copySystemAttributes(open("one").get(), open("two").get());
    EXPECT_TRUE(kernel_.withAccessList.empty());
    kernel_.accessListError = 0;
    copySystemAttributes(open("one").get(), open("two").get());
    EXPECT_EQ(kernel_.withAccessList, std::vector<std::string>{"two"});
}

TEST_F(MacKernelCalls, ThereIsNoCallThatStaysBeneathAFolder) {
    EXPECT_EQ(openBeneath(self_.get(), "."), -1);
    EXPECT_EQ(errno, ENOSYS);
}

TEST_F(MacKernelCalls, AttributesAreSetReadAndListedFromTheirBeginning) {
    folder_.writeFile("file");
    const Descriptor file = open("file");
    if (setExtendedAttribute(file.get(), "com.example.note", "value", 5) != 0 && errno == ENOTSUP)
        GTEST_SKIP() << "the temporary folder has no attributes";
    char names[100]{};
    const ssize_t size = listExtendedAttributes(file.get(), names, sizeof names);
    EXPECT_EQ(std::string(names, static_cast<std::size_t>(size)),
              std::string("com.example.note\0", 17));
    char value[100]{};
    EXPECT_EQ(getExtendedAttribute(file.get(), "com.example.note", value, sizeof value), 5);
    EXPECT_STREQ(value, "value");
    EXPECT_EQ(getExtendedAttribute(file.get(), "com.example.other", value, sizeof value), -1);
    EXPECT_EQ(errno, kNoSuchAttributeError);
    EXPECT_EQ(kernel_.attributeCalls.size(), 4U);
    for (const auto& call : kernel_.attributeCalls) {
        EXPECT_EQ(call.position, 0U);
        EXPECT_EQ(call.options, 0);
    }
}

TEST_F(MacKernelCalls, EveryAttributeThatCanBeSetIsCopied) {
    for (const char* const name : {"com.apple.FinderInfo", "com.apple.ResourceFork", "note"})
        EXPECT_TRUE(isCopiedAttribute(name, false)) << name;
}

TEST_F(MacKernelCalls, TraitsAreThoseOfTheItemItself) {
    folder_.writeFile("file");
    folder_.makeFolder("folder");
    folder_.makeLink("link", "file");
    kernel_.isMountPoint["folder"] = true;
    RemovalTraits traits{true, true, 1, 0};
    ASSERT_EQ(getRemovalTraits(self_.get(), "link", &traits), 0);
    EXPECT_EQ(traits.type, mode_t{S_IFLNK});
    EXPECT_EQ(traits.owner, ::geteuid());
    EXPECT_FALSE(traits.isFixed);
    EXPECT_FALSE(traits.isMountPoint);
    ASSERT_EQ(getRemovalTraits(self_.get(), "folder", &traits), 0);
    EXPECT_EQ(traits.type, mode_t{S_IFDIR});
    EXPECT_TRUE(traits.isMountPoint);
    EXPECT_EQ(getRemovalTraits(self_.get(), "missing", &traits), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(MacKernelCalls, FlagsThatForbidRemovalMakeAnItemFixed) {
    folder_.writeFile("file");
    RemovalTraits traits;
    for (const std::uint32_t flag : {0x2U, 0x4U, 0x20000U, 0x40000U, 0x80000U, 0x100000U}) {
        kernel_.flagsOf["file"] = flag;
        ASSERT_EQ(getRemovalTraits(self_.get(), "file", &traits), 0);
        EXPECT_TRUE(traits.isFixed) << flag;
    }
    kernel_.flagsOf["file"] = 0x8001;  // hidden, not to be dumped
    ASSERT_EQ(getRemovalTraits(self_.get(), "file", &traits), 0);
    EXPECT_FALSE(traits.isFixed);
    kernel_.listError = EIO;
    EXPECT_EQ(getRemovalTraits(self_.get(), "file", &traits), -1);
    EXPECT_EQ(errno, EIO);
}

TEST_F(MacKernelCalls, ACloneHasTheContentsAndIsItsOwnersAlone) {
    folder_.writeFile("file", "text");
    ::chmod((folder_ / "file").c_str(), 0444);
    kernel_.canClone = true;
    const Descriptor made = clone(open("file"), "copy");
    ASSERT_TRUE(made);
    EXPECT_TRUE(cloned_);
    EXPECT_EQ(test::readFile(folder_ / "copy"), "text");
    EXPECT_EQ(modeOf("copy"), 0600U);
    EXPECT_EQ(::pwrite(made.get(), "T", 1, 0), 1);
    EXPECT_NE(::fcntl(made.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(kernel_.cloneFlags, std::vector<std::uint32_t>{2});
}

TEST_F(MacKernelCalls, AFileThatIsNotClonedIsMadeEmpty) {
    folder_.writeFile("file", "text");
    const Descriptor made = clone(open("file"), "copy");
    ASSERT_TRUE(made);
    EXPECT_FALSE(cloned_);
    EXPECT_EQ(test::readFile(folder_ / "copy"), "");
    EXPECT_EQ(modeOf("copy"), 0600U);
    EXPECT_EQ(::write(made.get(), "new!", 4), 4);
}

TEST_F(MacKernelCalls, NoFileIsMadeWhereAnItemIs) {
    folder_.writeFile("file", "text");
    folder_.writeFile("taken", "old");
    folder_.makeLink("dangling", "nowhere");
    for (const bool canClone : {false, true}) {
        kernel_.canClone = canClone;
        for (const char* const taken : {"taken", "dangling"}) {
            EXPECT_FALSE(clone(open("file"), taken));
            EXPECT_EQ(errno, EEXIST);
            EXPECT_FALSE(cloned_);
        }
    }
    EXPECT_EQ(test::readFile(folder_ / "taken"), "old");
    EXPECT_FALSE(test::somethingAt(folder_ / "nowhere"));
}

TEST_F(MacKernelCalls, NothingIsClonedIntoAFolderThatOthersCanChange) {
    folder_.writeFile("file", "text");
    kernel_.canClone = true;
    for (const mode_t mode : {0770U, 0707U}) {
        ASSERT_EQ(::fchmod(self_.get(), mode), 0);
        const Descriptor made = clone(open("file"), mode == 0770 ? "a" : "b");
        EXPECT_TRUE(made);
        EXPECT_FALSE(cloned_);
    }
    EXPECT_TRUE(kernel_.cloneFlags.empty());
}

TEST_F(MacKernelCalls, NothingIsClonedIntoAFolderWithAnAccessControlList) {
    folder_.writeFile("file", "text");
    kernel_.canClone = true;
    // It has a list, or may have one.
    for (const int error : {0, EIO}) {
        kernel_.accessListError = error;
        const Descriptor made = clone(open("file"), error == 0 ? "a" : "b");
        EXPECT_TRUE(made);
        EXPECT_FALSE(cloned_);
    }
    EXPECT_TRUE(kernel_.cloneFlags.empty());
    EXPECT_EQ(kernel_.accessLists, 0);
    EXPECT_EQ(kernel_.accessListTypes, (std::vector<int>{0x100, 0x100}));
}

TEST_F(MacKernelCalls, AFixedFileIsNotCloned) {
    folder_.writeFile("file", "text");
    kernel_.canClone = true;
    kernel_.flagsOf["file"] = 0x2;
    EXPECT_TRUE(clone(open("file"), "copy"));
    EXPECT_FALSE(cloned_);
    EXPECT_TRUE(kernel_.cloneFlags.empty());
}

TEST_F(MacKernelCalls, SpaceIsReservedBehindTheEndOfAFile) {
    const Descriptor file(::open(folder_.writeFile("file").c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(reserveSpace(file.get(), 1 << 20), 0);
    ASSERT_EQ(kernel_.preallocations.size(), 1U);
    EXPECT_EQ(kernel_.preallocations[0].command, 42);
    EXPECT_EQ(kernel_.preallocations[0].flags, 4U);
    EXPECT_EQ(kernel_.preallocations[0].mode, 3);
    EXPECT_EQ(kernel_.preallocations[0].offset, 0);
    EXPECT_EQ(kernel_.preallocations[0].length, 1 << 20);
}

TEST_F(MacKernelCalls, PipesAndWakePairsAreClosedByAnExec) {
    for (const bool isWakePair : {false, true}) {
        int ends[2];
        ASSERT_EQ(isWakePair ? openWakePair(ends) : openPipe(ends), 0);
        const Descriptor reading(ends[0]);
        const Descriptor writing(ends[1]);
        for (const int end : ends) {
            EXPECT_NE(::fcntl(end, F_GETFD) & FD_CLOEXEC, 0);
            EXPECT_EQ((::fcntl(end, F_GETFL) & O_NONBLOCK) != 0, isWakePair);
        }
        char byte = 0;
        ASSERT_EQ(::write(writing.get(), "x", 1), 1);
        EXPECT_EQ(::read(reading.get(), &byte, 1), 1);
        EXPECT_EQ(byte, 'x');
    }
}

}  // namespace
}  // namespace quillmoor::platform::posix
