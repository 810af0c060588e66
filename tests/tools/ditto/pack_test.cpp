#include "tools/ditto/pack.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/tools/ditto/libarchive_peer.h"
#include "tests/tools/ditto/pack_fixture.h"
#include "tools/ditto/block_deflater.h"

namespace quillmoor::ditto {
namespace {

using test::PeerEntry;
using test::readWithPeer;

TEST_F(DittoPack, ABundleIsUnchangedByPackingAndUnpacking) {
    const std::string app = makeBundle();
    const auto before = describeTree(folder_ / "src");
    ASSERT_EQ(runDitto({"-ck", "--keepParent", app, zip_}).status, 0);
    ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
    EXPECT_EQ(describeTree(folder_ / "back"), before);
    EXPECT_EQ(itemsIn(out_), 1U);
}

TEST_F(DittoPack, WithoutItsParentTheContentsAreAtTheTop) {
    const std::string app = makeBundle();
    ASSERT_EQ(runDitto({"-c", "-k", app, zip_}).status, 0);
    ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
    EXPECT_EQ(describeTree(folder_ / "back"), describeTree(app));
}

TEST_F(DittoPack, AnotherReaderSeesTheSame) {
    const std::string app = makeBundle();
    ASSERT_EQ(runDitto({"-ck", app, zip_}).status, 0);
    const auto entries = readWithPeer(zip_);
    ASSERT_EQ(entries.size(), describeTree(app).size());
    for (const PeerEntry& entry : entries) {
        struct stat info = {};
        ASSERT_EQ(::lstat((app + '/' + entry.name).c_str(), &info), 0) << entry.name;
        EXPECT_EQ(entry.mode, info.st_mode) << entry.name;
        EXPECT_EQ(entry.modified, info.st_mtim.tv_sec) << entry.name;
        const std::string path = app + '/' + entry.name;
        EXPECT_EQ(entry.content, S_ISREG(info.st_mode) ? readFile(path) : "") << entry.name;
        EXPECT_EQ(entry.linkTarget, S_ISLNK(info.st_mode) ? fs::read_symlink(path).string() : "")
            << entry.name;
    }
}

TEST_F(DittoPack, AnotherWritersArchiveIsUnpacked) {
    const std::string app = makeBundle();
    test::writeWithPeer(zip_, app);
    ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
    EXPECT_EQ(describeTree(folder_ / "back"), describeTree(app));
}

TEST_F(DittoPack, ASingleFilePacksAsItself) {
    const std::string file = folder_.writeFile("one.txt", "one");
    for (const char* parent : {"--rsrc", "--keepParent"}) {
        ASSERT_EQ(runDitto({"-ck", parent, file, zip_}).status, 0);
        const auto entries = readWithPeer(zip_);
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].name, "one.txt");
        EXPECT_EQ(entries[0].content, "one");
    }
}

TEST_F(DittoPack, ASourceThatIsALinkIsFollowed) {
    folder_.writeFile("real/file", "content");
    folder_.makeLink("folder link", "real");
    folder_.makeLink("file link", "real/file");
    ASSERT_EQ(runDitto({"-ck", "--keepParent", folder_ / "folder link", zip_}).status, 0);
    EXPECT_EQ(readWithPeer(zip_).back().name, "folder link/file");
    ASSERT_EQ(runDitto({"-ck", folder_ / "file link", zip_}).status, 0);
    EXPECT_EQ(readWithPeer(zip_).back().name, "file link");
    EXPECT_EQ(readWithPeer(zip_).back().content, "content");
}

TEST_F(DittoPack, TheCurrentFolderHasItsRealName) {
    folder_.writeFile("named/file");
    const auto inside = [this] { EXPECT_EQ(::chdir((folder_ / "named").c_str()), 0); };
    ASSERT_EQ(runDitto({"-ck", "--keepParent", ".", zip_}, inside).status, 0);
    EXPECT_EQ(readWithPeer(zip_).back().name, "named/file");
}

// A file of one byte more than can be compressed as a whole is compressed in blocks.
TEST_F(DittoPack, FilesOfSizesAroundTheLimitAreRestored) {
    for (const std::size_t size : {kWholeFile - 1, kWholeFile, kWholeFile + 1}) {
        const std::string file = folder_.writeFile("src/file", noise(100));
        fs::resize_file(file, size);
        ASSERT_EQ(runDitto({"-ck", folder_ / "src", zip_}).status, 0);
        EXPECT_LT(fs::file_size(zip_), size / 100);
        const std::string content = readFile(file);
        const auto entries = readWithPeer(zip_);
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_TRUE(entries[0].content == content) << size;
        ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
        EXPECT_TRUE(readFile(folder_ / "back/file") == content) << size;
        fs::remove_all(folder_ / "back");
    }
}

// Reports the sizes of a moment ago: the files have grown since.
int sizeBefore(int file, struct stat* status) {
    const int result = ::fstat(file, status);
    if (S_ISREG(status->st_mode)) status->st_size = std::min<off_t>(status->st_size, 10);
    return result;
}

TEST_F(DittoPack, AFileThatGrowsMeanwhileIsPackedCompletely) {
    using platform::posix::exchangeSystemCalls;
    platform::posix::SystemCalls calls = platform::posix::systemCalls();
    calls.fstat = &sizeBefore;
    for (const std::size_t size : {std::size_t{11}, std::size_t{3} << 20U, kWholeFile + 1}) {
        Options options;
        options.sources = {folder_.writeFile("src/file", noise(1000))};
        options.destination = zip_;
        fs::resize_file(options.sources.front(), size);
        const platform::posix::SystemCalls* const before = exchangeSystemCalls(&calls);
        pack(options, 022);
        exchangeSystemCalls(before);
        const auto entries = readWithPeer(zip_);
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_TRUE(entries[0].content == readFile(options.sources.front())) << size;
    }
}

TEST_F(DittoPack, FilesOfManyBlocksAreRestored) {
    const std::string large = noise(1U << 20U) + std::string(3U << 20U, 'x') + noise(5);
    folder_.writeFile("src/large", large);
    folder_.writeFile("src/one block", std::string(512U << 10U, 'b'));
    folder_.writeFile("src/two blocks", noise(1U << 20U));
    ASSERT_EQ(runDitto({"-ck", folder_ / "src", zip_}).status, 0);
    const auto entries = readWithPeer(zip_);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].content, large);
    EXPECT_EQ(entries[1].content, std::string(512U << 10U, 'b'));
    EXPECT_EQ(entries[2].content, readFile(folder_ / "src/two blocks"));
    ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
    EXPECT_EQ(describeTree(folder_ / "back"), describeTree(folder_ / "src"));
}

TEST_F(DittoPack, TextShrinksAndNoiseDoesNotGrow) {
    folder_.writeFile("src/noise", noise(100000));
    folder_.writeFile("src/text", std::string(100000, 't'));
    ASSERT_EQ(runDitto({"-ck", folder_ / "src", zip_}).status, 0);
    EXPECT_LT(fs::file_size(zip_), 101000U);
}

TEST_F(DittoPack, DatesBefore1970AndAfter2038AreKept) {
    for (const std::int64_t date : {-100000LL, 2000000000LL}) {
        folder_.writeFile("src/a", "a");
        setDate(folder_ / "src/a", date);
        ASSERT_EQ(runDitto({"-ck", folder_ / "src", zip_}).status, 0);
        ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
        EXPECT_EQ(describeTree(folder_ / "back"), describeTree(folder_ / "src"));
        fs::remove_all(folder_ / "back");
    }
}

TEST_F(DittoPack, ALinkAtTheArchivesPathIsReplacedNotFollowed) {
    folder_.writeFile("victim", "victim");
    folder_.makeLink("out/a.zip", folder_ / "victim");
    EXPECT_EQ(runDitto({"-ck", folder_.writeFile("file"), zip_}).status, 0);
    EXPECT_EQ(readFile(folder_ / "victim"), "victim");
    EXPECT_FALSE(fs::is_symlink(zip_));
}

TEST_F(DittoPack, AnArchiveInsideItsSourceIsLeftOut) {
    folder_.writeFile("src/file", "content");
    folder_.writeFile("src/sub/a.zip", "another");
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(runDitto({"-ck", folder_ / "src", folder_ / "src/a.zip"}).status, 0);
        EXPECT_EQ(readWithPeer(folder_ / "src/a.zip").size(), 3U);
    }
}

TEST_F(DittoPack, TheArchiveHasTheUsualMode) {
    ASSERT_EQ(runDitto({"-ck", folder_.writeFile("file"), zip_}, [] { ::umask(026); }).status, 0);
    EXPECT_EQ(static_cast<unsigned>(fs::status(zip_).permissions()), 0640U);
}

std::function<void()> withEnvironment(const std::string& sourceDate, const char* zone = "UTC") {
    return [=] {
        ::setenv("TZ", zone, 1);
        ::setenv("SOURCE_DATE_EPOCH", sourceDate.c_str(), 1);
    };
}

TEST_F(DittoPack, TheSameInputGivesTheSameBytes) {
    const std::string app = makeBundle();
    folder_.writeFile("src/X é.app/large", noise(3U << 20U) + std::string(1U << 20U, 'x'));
    setDate(app + "/large", 1000000);
    ASSERT_EQ(runDitto({"-ck", "--keepParent", app, zip_}, withEnvironment("1000000500")).status,
              0);
    const std::string first = readFile(zip_);
    // Copied in another order, later, in another time zone.
    const fs::path copy = folder_.makeFolder("copy/X é.app");
    std::vector<fs::path> items;
    for (const auto& item : fs::recursive_directory_iterator(app)) items.push_back(item.path());
    std::sort(items.rbegin(), items.rend());
    for (const fs::path& item : items)
        if (fs::is_directory(fs::symlink_status(item)))
            fs::create_directories(copy / item.lexically_relative(app));
    for (const fs::path& item : items)
        if (!fs::is_directory(fs::symlink_status(item)))
            fs::copy(item, copy / item.lexically_relative(app), fs::copy_options::copy_symlinks);
    for (const fs::path& item : items)
        if (!fs::is_symlink(item))
            fs::permissions(copy / item.lexically_relative(app), fs::status(item).permissions());
    setDate(copy / "large", 1000000);
    ASSERT_EQ(
        runDitto({"-ck", "--keepParent", copy, zip_}, withEnvironment("1000000500", "Asia/Kolkata"))
            .status,
        0);
    EXPECT_TRUE(readFile(zip_) == first);
}

TEST_F(DittoPack, NewerDatesBecomeTheSourceDateAndOlderOnesStay) {
    const std::int64_t date = 1000000000;
    setDate(folder_.writeFile("src/older"), date - 1);
    setDate(folder_.writeFile("src/same"), date);
    setDate(folder_.writeFile("src/newer"), date + 1);
    setDate(folder_.makeLink("src/link", "same"), date + 100);
    folder_.makeFolder("src/folder");
    ASSERT_EQ(runDitto({"-ck", "--keepParent", folder_ / "src", zip_},
                       withEnvironment(std::to_string(date)))
                  .status,
              0);
    const auto entries = readWithPeer(zip_);
    ASSERT_EQ(entries.size(), 6U);
    for (const PeerEntry& entry : entries)
        EXPECT_EQ(entry.modified, entry.name == "src/older" ? date - 1 : date) << entry.name;
}

TEST_F(DittoPack, ABadSourceDateIsAnErrorAndLeavesTheOldArchive) {
    const std::string file = folder_.writeFile("file", "content");
    folder_.writeFile("out/a.zip", "old");
    const DittoResult result = runDitto({"-ck", file, zip_}, withEnvironment("tomorrow"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "ditto: SOURCE_DATE_EPOCH needs a number of seconds since 1970, not “tomorrow”\n");
    EXPECT_EQ(readFile(zip_), "old");
    EXPECT_EQ(itemsIn(out_), 1U);
    // Unpacking ignores it.
    ASSERT_EQ(runDitto({"-ck", file, zip_}).status, 0);
    EXPECT_EQ(runDitto({"-xk", zip_, folder_ / "back"}, withEnvironment("tomorrow")).status, 0);
}

TEST_F(DittoPack, MessagesAreNeverWrittenIntoTheArchive) {
    folder_.writeFile("src/file", "content");
    const auto closed = [] {
        for (const int stream : {0, 1, 2}) ::close(stream);
    };
    ASSERT_EQ(runDitto({"-ckV", folder_ / "src", zip_}, closed).status, 0);
    ASSERT_EQ(readWithPeer(zip_).size(), 1U);
    EXPECT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
    EXPECT_EQ(readFile(folder_ / "back/file"), "content");
}

// As on a kernel without openat2.
void withoutOpenat2() {
    std::array<sock_filter, 4> rules = {
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {rules.size(), rules.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(77);
}

TEST_F(DittoPack, WorksWithoutOpenat2) {
    const std::string app = makeBundle();
    const int status = runDitto({"-ck", app, zip_}, &withoutOpenat2).status;
    if (status == 77) GTEST_SKIP() << "system calls cannot be filtered here";
    ASSERT_EQ(status, 0);
    ASSERT_EQ(runDitto({"-xk", zip_, folder_ / "back"}, &withoutOpenat2).status, 0);
    EXPECT_EQ(describeTree(folder_ / "back"), describeTree(app));
}

}  // namespace
}  // namespace quillmoor::ditto
