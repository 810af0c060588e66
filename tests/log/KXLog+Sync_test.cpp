// Nothing is forced to the disk. This program defines the calls that would do so.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>

#include "quillmoor/platform/posix/process/file_handle_posix.h"
#include "tests/log/log_fixture.h"

namespace {
std::atomic<int> syncs{0};
int countSync() {
    ++syncs;
    return 0;
}
}  // namespace

extern "C" {
int fsync(int) {
    return countSync();
}
int fdatasync(int) {
    return countSync();
}
int syncfs(int) noexcept {
    return countSync();
}
int sync_file_range(int, off64_t, off64_t, unsigned) {
    return countSync();
}
void sync() noexcept {
    countSync();
}
}

namespace quillmoor {
namespace {

using WrittenLines = test::LogTest;

TEST_F(WrittenLines, AreNotForcedToTheDisk) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    ASSERT_EQ(::fsync(-1), 0);  // the definition above is called
    ASSERT_EQ(syncs.exchange(0), 1);
    for (int i = 0; i < 10; ++i) KXLog::appendLog("line %d", i);
    KXLog::finishWriting();
    EXPECT_EQ(syncs, 0);
    const auto handle = KXLog::sharedController()->fileHandle();
    const int file = dynamic_cast<platform::posix::DescriptorHandle&>(*handle).descriptor();
    EXPECT_EQ(::fcntl(file, F_GETFL) & (O_SYNC | O_DSYNC), 0);
}

}  // namespace
}  // namespace quillmoor
