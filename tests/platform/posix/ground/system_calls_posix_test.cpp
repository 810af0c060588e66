#include "quillmoor/platform/posix/ground/system_calls_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

TEST(SystemCallTable, HasEveryCall) {
    std::vector<void*> entries(sizeof(SystemCalls) / sizeof(void*));
    static_assert(sizeof(SystemCalls) % sizeof(void*) == 0);
    std::memcpy(entries.data(), &nativeSystemCalls(), sizeof(SystemCalls));
    for (const void* const entry : entries) EXPECT_NE(entry, nullptr);
}

TEST(SystemCallTable, IsExchangedAndPutBack) {
    SystemCalls calls = nativeSystemCalls();
    const SystemCalls* const before = exchangeSystemCalls(&calls);
    EXPECT_EQ(&systemCalls(), &calls);
    EXPECT_EQ(exchangeSystemCalls(before), &calls);
    EXPECT_EQ(&systemCalls(), before);
}

TEST(SystemCallTable, NullMeansTheSystemsOwn) {
    const SystemCalls* const before = exchangeSystemCalls(nullptr);
    EXPECT_EQ(&systemCalls(), &nativeSystemCalls());
    exchangeSystemCalls(before);
}

TEST(SystemCallTable, ItsDescriptorsAreClosedByAnExec) {
    const test::TempFolder folder;
    const SystemCalls& calls = nativeSystemCalls();
    const Descriptor file(
        calls.openat(AT_FDCWD, (folder / "file").c_str(), O_WRONLY | O_CREAT, 0600));
    ASSERT_TRUE(file);
    EXPECT_NE(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    int ends[2];
    ASSERT_EQ(calls.pipe(ends), 0);
    for (const int end : ends) {
        EXPECT_NE(::fcntl(end, F_GETFD) & FD_CLOEXEC, 0);
        ::close(end);
    }
}

TEST(SystemCallTable, AFailureIsMinusOneAndErrno) {
    EXPECT_EQ(nativeSystemCalls().openat(AT_FDCWD, "/missing", O_RDONLY, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(nativeSystemCalls().fcntl(-1, F_GETFD, 0), -1);
    EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace quillmoor::platform::posix
