#include "quillmoor/platform/linux/ground/linux_calls_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

TEST(LinuxCallTable, HasEveryCall) {
    std::vector<void*> entries(sizeof(LinuxCalls) / sizeof(void*));
    static_assert(sizeof(LinuxCalls) % sizeof(void*) == 0);
    std::memcpy(entries.data(), &nativeLinuxCalls(), sizeof(LinuxCalls));
    for (const void* const entry : entries) EXPECT_NE(entry, nullptr);
}

TEST(LinuxCallTable, IsExchangedAndPutBack) {
    LinuxCalls calls = nativeLinuxCalls();
    const LinuxCalls* const before = exchangeLinuxCalls(&calls);
    EXPECT_EQ(&linuxCalls(), &calls);
    EXPECT_EQ(exchangeLinuxCalls(nullptr), &calls);
    EXPECT_EQ(&linuxCalls(), &nativeLinuxCalls());
    exchangeLinuxCalls(before);
}

TEST(LinuxCallTable, AnOrdinaryItemIsNotImmutable) {
    const test::TempFolder folder;
    bool immutable = true;
    EXPECT_EQ(linuxCalls().isImmutable(AT_FDCWD, folder.writeFile("file").c_str(), &immutable), 0);
    EXPECT_FALSE(immutable);
    EXPECT_EQ(linuxCalls().isImmutable(AT_FDCWD, (folder / "missing").c_str(), &immutable), -1);
}

TEST(LinuxCallTable, TheTemporaryFoldersFileSystemIsNotHfsPlus) {
    const test::TempFolder folder;
    const posix::Descriptor opened(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
    bool isHfs = true;
    EXPECT_EQ(linuxCalls().isHfsPlus(opened.get(), &isHfs), 0);
    EXPECT_FALSE(isHfs);
    EXPECT_EQ(linuxCalls().isHfsPlus(-1, &isHfs), -1);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
