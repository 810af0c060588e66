#include "tools/ditto/unpack.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/tools/ditto/unpack_fixture.h"

namespace quillmoor::ditto {
namespace {

TEST_F(DittoUnpack, RestoresFilesFoldersAndLinks) {
    ZipItem program = zipFile("X.app/MacOS/run", std::string(300000, 'p'));
    program.mode = 0100755;
    program.deflated = true;
    ZipItem dated = zipFile("X.app/é ü\n-x\xff", "dated");
    dated.modified = kDate;
    ZipItem folder = zipFolder("X.app/", 0750);
    folder.modified = kDate + 1;
    ZipItem link = zipLink("X.app/current", "MacOS/run");
    link.modified = kDate + 2;
    const DittoResult result =
        unpack(buildZip({folder, program, dated, link, zipFile("empty", "")}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(readFile(dest_ + "/X.app/MacOS/run"), program.content);
    EXPECT_EQ(modeOf(dest_ + "/X.app/MacOS/run"), 0755U);
    EXPECT_EQ(readFile(dest_ + "/X.app/é ü\n-x\xff"), "dated");
    EXPECT_EQ(modeOf(dest_ + "/X.app"), 0750U);
    EXPECT_EQ(fs::read_symlink(dest_ + "/X.app/current"), "MacOS/run");
    EXPECT_EQ(fs::file_size(dest_ + "/empty"), 0U);
    const auto date = [this](const char* name) {
        struct stat info = {};
        ::lstat((dest_ + name).c_str(), &info);
        return info.st_mtim.tv_sec;
    };
    EXPECT_EQ(date("/X.app/é ü\n-x\xff"), kDate);
    EXPECT_EQ(date("/X.app"), kDate + 1);
    EXPECT_EQ(date("/X.app/current"), kDate + 2);
    EXPECT_EQ(itemsLeft(), 1U);
}

TEST_F(DittoUnpack, MissingParentsAreCreated) {
    const std::string path = archive(buildZip({zipFile("a")}));
    EXPECT_EQ(runDitto({"-x", "-k", path, work_ + "/p/q/dest/"}).status, 0);
    EXPECT_EQ(readFile(work_ + "/p/q/dest/a"), "content");
}

TEST_F(DittoUnpack, ARelativeDestinationIsFound) {
    const std::string path = archive(buildZip({zipFile("a")}));
    const auto inWork = [this] { EXPECT_EQ(::chdir(work_.c_str()), 0); };
    EXPECT_EQ(runDitto({"-xk", path, "dest"}, inWork).status, 0);
    EXPECT_EQ(readFile(dest_ + "/a"), "content");
    EXPECT_EQ(runDitto({"-xk", path, "."}, inWork).status, 0);
    EXPECT_EQ(readFile(work_ + "/a"), "content");
}

TEST_F(DittoUnpack, WithoutPathsNothingIsCreated) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-xk"}, {"-xk", dest_}, {}}) {
        const DittoResult result = runDitto(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.errors, "");
        EXPECT_EQ(itemsLeft(), 0U);
    }
}

TEST_F(DittoUnpack, AMissingArchiveLeavesNothing) {
    const DittoResult result = runDitto({"-xk", folder_ / "missing.zip", dest_});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("No such file"), std::string::npos) << result.errors;
    EXPECT_EQ(itemsLeft(), 0U);
}

TEST_F(DittoUnpack, AnEmptyArchiveMakesAnEmptyFolder) {
    EXPECT_EQ(unpack(buildZip({})).status, 0);
    EXPECT_TRUE(fs::is_empty(dest_));
}

TEST_F(DittoUnpack, HelpGoesToStandardOutput) {
    const DittoResult result = runDitto({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("--keepParent"), std::string::npos);
    EXPECT_EQ(result.errors, "");
    EXPECT_TRUE(runDitto({"--version"}).output.starts_with("ditto "));
}

TEST_F(DittoUnpack, HelpThatCannotBeWrittenIsAFailure) {
    const DittoResult result =
        runDitto({"--help"}, [] { EXPECT_NE(::freopen("/dev/full", "w", stdout), nullptr); });
    EXPECT_EQ(result.status, 1);
}

TEST_F(DittoUnpack, ALargeFileIsUnpackedCompletely) {
    std::string content;
    for (int i = 0; content.size() < 9U << 20U; ++i) content += std::to_string(i);
    ZipItem item = zipFile("large", content);
    item.deflated = true;
    ZipItem plain = zipFile("stored", content);
    EXPECT_EQ(unpack(buildZip({item, plain})).status, 0);
    EXPECT_EQ(readFile(dest_ + "/large"), content);
    EXPECT_EQ(readFile(dest_ + "/stored"), content);
}

TEST_F(DittoUnpack, SetuidAndStickyBitsAreDropped) {
    ZipItem item = zipFile("a");
    item.mode = 0107755;
    EXPECT_EQ(unpack(buildZip({item, zipFolder("d/", 03777)})).status, 0);
    EXPECT_EQ(modeOf(dest_ + "/a"), 0755U);
    EXPECT_EQ(modeOf(dest_ + "/d"), 0777U);
}

TEST_F(DittoUnpack, WithoutAModeInTheArchiveTheMaskApplies) {
    ZipItem item = zipFile("d/a");
    item.host = 0;
    item.mode = 0;
    EXPECT_EQ(unpack(buildZip({item}), [] { ::umask(027); }).status, 0);
    EXPECT_EQ(modeOf(dest_ + "/d/a"), 0640U);
    EXPECT_EQ(modeOf(dest_ + "/d"), 0750U);
    EXPECT_EQ(modeOf(dest_), 0750U);
}

TEST_F(DittoUnpack, AFolderMayForbidWriting) {
    EXPECT_EQ(unpack(buildZip({zipFolder("d/", 0555), zipFile("d/e/f")})).status, 0);
    EXPECT_EQ(modeOf(dest_ + "/d"), 0555U);
    EXPECT_EQ(readFile(dest_ + "/d/e/f"), "content");
}

TEST_F(DittoUnpack, AnExistingFolderKeepsItsItems) {
    folder_.writeFile("work/dest/old", "old");
    const std::string bytes = buildZip({zipFolder("d/", 0555), zipFile("d/new"), zipFile("new")});
    EXPECT_EQ(unpack(bytes).status, 0);
    EXPECT_EQ(test::describeTree(dest_).size(), 4U);
    EXPECT_EQ(readFile(dest_ + "/old"), "old");
    EXPECT_EQ(readFile(dest_ + "/d/new"), "content");
    EXPECT_EQ(modeOf(dest_ + "/d"), 0555U);
}

TEST_F(DittoUnpack, NothingThatExistsIsReplaced) {
    folder_.writeFile("work/dest/taken", "old");
    folder_.makeLink("work/dest/dangling", "nowhere");
    folder_.makeFolder("work/dest/folder");
    const auto before = test::describeTree(dest_);
    for (const char* name : {"taken", "dangling", "folder/x", "taken/x", "dangling/x"}) {
        const DittoResult result = unpack(buildZip({zipFile("free"), zipFile(name)}));
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_NE(result.errors.find("exists already"), std::string::npos) << result.errors;
        EXPECT_EQ(test::describeTree(dest_), before);
    }
}

TEST_F(DittoUnpack, ALinkToAFolderIsADestination) {
    folder_.makeFolder("work/real");
    folder_.makeLink("work/dest", "real");
    EXPECT_EQ(unpack(buildZip({zipFile("a")})).status, 0);
    EXPECT_EQ(readFile(work_ + "/real/a"), "content");
    EXPECT_TRUE(fs::is_symlink(dest_));
}

TEST_F(DittoUnpack, ADanglingLinkOrAFileIsNotADestination) {
    const std::string bytes = buildZip({zipFile("a")});
    folder_.makeLink("work/dest", "nowhere");
    EXPECT_NE(unpack(bytes).errors.find("leads nowhere"), std::string::npos);
    fs::remove(dest_);
    folder_.writeFile("work/dest", "file");
    EXPECT_NE(unpack(bytes).errors.find("is not a folder"), std::string::npos);
    EXPECT_EQ(readFile(dest_), "file");
    const DittoResult result = runDitto({"-xk", archive(bytes), dest_ + "/below"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(itemsLeft(), 1U);
}

TEST_F(DittoUnpack, CreatedParentsAreRemovedAfterARefusal) {
    const std::string path = archive(buildZip({zipFile("../x")}));
    ZipItem damaged = zipFile("a");
    damaged.crc = 1;
    const std::string other = archive(buildZip({damaged}), "in/b.zip");
    for (const std::string& each : {path, other}) {
        EXPECT_EQ(runDitto({"-xk", each, work_ + "/p/q/dest"}).status, 1);
        EXPECT_EQ(itemsLeft(), 0U);
    }
}

TEST_F(DittoUnpack, SeveralArchivesMakeOneTree) {
    const std::string one = archive(buildZip({zipFolder("d/"), zipFile("d/a", "1")}), "in/1.zip");
    const std::string two = archive(buildZip({zipFolder("d/"), zipFile("d/b", "2")}), "in/2.zip");
    EXPECT_EQ(runDitto({"-xk", one, two, dest_}).status, 0);
    EXPECT_EQ(readFile(dest_ + "/d/a"), "1");
    EXPECT_EQ(readFile(dest_ + "/d/b"), "2");
}

TEST_F(DittoUnpack, OneBadArchiveOfSeveralRefusesAll) {
    const std::string one = archive(buildZip({zipFile("a")}), "in/1.zip");
    const std::string two = archive(buildZip({zipFile("../b")}), "in/2.zip");
    const DittoResult result = runDitto({"-xk", one, two, dest_});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("2.zip"), std::string::npos) << result.errors;
    EXPECT_EQ(runDitto({"-xk", one, one, dest_}).status, 1);
    EXPECT_EQ(itemsLeft(), 0U);
}

TEST_F(DittoUnpack, AppleDoubleEntriesAreLeftOutWithANote) {
    const DittoResult result =
        unpack(buildZip({zipFile("a"), zipFolder("__MACOSX/"), zipFile("__MACOSX/._a")}));
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.errors.find("1 AppleDouble"), std::string::npos) << result.errors;
    EXPECT_EQ(test::describeTree(dest_).size(), 1U);
}

TEST_F(DittoUnpack, EachItemIsNamedWhenAsked) {
    const std::string path = archive(buildZip({zipFile("d/a\n"), zipLink("l", "d")}));
    EXPECT_EQ(runDitto({"-xk", "-V", path, dest_}).errors, "d\nd/a\\x0a\nl\n");
}

TEST_F(DittoUnpack, AFileBeyondTheProcessLimitLeavesNothing) {
    ZipItem item = zipFile("large", std::string(1U << 20U, 'x'));
    item.deflated = true;
    const auto limit = [] {
        const rlimit most = {100000, 100000};
        ::setrlimit(RLIMIT_FSIZE, &most);
    };
    const DittoResult result = unpack(buildZip({zipFile("small"), item}), limit);
    EXPECT_EQ(result.status, 1) << result.signal;
    EXPECT_NE(result.errors.find("File too large"), std::string::npos) << result.errors;
    EXPECT_EQ(itemsLeft(), 0U);
}

TEST_F(DittoUnpack, AFullDiskLeavesNothing) {
    // On a small file system in a separate mount namespace.
    const std::string path =
        archive(buildZip({zipFile("a"), zipFile("b", std::string(3U << 20U, 'x'))}));
    const std::string script = "unshare -m" + std::string(::geteuid() == 0 ? "" : " -r") +
                               " sh -c '"
                               "mount -t tmpfs -o size=1m none " +
                               work_ + " || exit 77; " DITTO_PATH " -xk " + path + " " + work_ +
                               "/p/dest 2>" + (folder_ / "errors") + "; echo $? >" +
                               (folder_ / "status") + "; ls -A " + work_ + " >" +
                               (folder_ / "left") + "' 2>/dev/null";
    if (std::system(script.c_str()) != 0) GTEST_SKIP() << "no mount namespace can be made here";
    EXPECT_EQ(readFile(folder_ / "status"), "1\n");
    EXPECT_NE(readFile(folder_ / "errors").find("No space left"), std::string::npos);
    EXPECT_EQ(readFile(folder_ / "left"), "");
}

using UserDittoUnpack = DittoUnpack;

TEST_F(UserDittoUnpack, AParentThatIsNotWritableIsAnError) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
    ASSERT_EQ(::chmod(work_.c_str(), 0555), 0);
    const DittoResult result = unpack(buildZip({zipFile("a")}));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("Permission denied"), std::string::npos) << result.errors;
    EXPECT_EQ(itemsLeft(), 0U);
}

TEST_F(DittoUnpack, ASignalLeavesNothingAndThenEndsTheTool) {
    const std::string path = archive(buildZip(manyFiles()));
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const DittoResult result = test::interruptDitto({"-xk", path, work_ + "/p/dest"}, signal);
        EXPECT_EQ(result.signal, signal) << result.errors;
        EXPECT_EQ(itemsLeft(), 0U);
    }
}

TEST_F(DittoUnpack, ASignalDuringAMergeLeavesTheFolderAsItWas) {
    folder_.writeFile("work/dest/old", "old");
    const auto before = test::describeTree(dest_);
    const DittoResult result =
        test::interruptDitto({"-xk", archive(buildZip(manyFiles())), dest_}, SIGTERM);
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_EQ(test::describeTree(dest_), before);
}

TEST_F(DittoUnpack, ADestinationThatIsALinkIsFollowedOnce) {
    folder_.makeFolder("work/real");
    folder_.makeFolder("work/victim");
    folder_.makeLink("work/dest", "real");
    const std::string path = archive(buildZip(manyFiles()));
    const DittoResult result = test::pauseDitto({"-xk", path, dest_}, [this](pid_t) {
        fs::remove(dest_);
        folder_.makeLink("work/dest", "victim");
    });
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(fs::is_empty(work_ + "/victim"));
    EXPECT_EQ(readFile(work_ + "/real/d/1" + std::string(50, 'n')), "content");
}

TEST_F(DittoUnpack, AFolderThatIsReplacedByALinkMeanwhileIsNotWrittenThrough) {
    folder_.makeFolder("victim");
    const std::string path = archive(buildZip(manyFiles()));
    const DittoResult result = test::pauseDitto({"-xk", path, dest_}, [this](pid_t) {
        const fs::path stage = *fs::directory_iterator(work_);
        fs::rename(stage / "d", stage / "moved");
        fs::create_symlink(folder_ / "victim", stage / "d");
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(fs::is_empty(folder_ / "victim"));
    EXPECT_EQ(itemsLeft(), 0U);
}

TEST_F(DittoUnpack, AnIgnoredSignalStaysIgnored) {
    const std::string path = archive(buildZip(manyFiles()));
    ::signal(SIGHUP, SIG_IGN);
    const DittoResult result = test::interruptDitto({"-xk", path, dest_}, SIGHUP);
    ::signal(SIGHUP, SIG_DFL);
    EXPECT_EQ(result.status, 0);
}

// Archives of one small tree by zip, bsdtar and Python's zipfile, made by archives/make.
TEST_F(DittoUnpack, ArchivesOfOtherPackersAreRestored) {
    const std::string date = "|" + std::to_string(kDate);
    const std::string file = "one.txt|33184" + date + "|one\n";
    const std::string inner = "sub/long|33188" + date + '|' + std::string(3000, 'z');
    const std::string link = "link|41471" + date + "|one.txt";
    const std::string folder = "sub|16877" + date;
    const std::string wide = "wide|33152" + date + "|wide";
    using Lines = std::vector<std::string>;
    const auto inUtc = [] { ::setenv("TZ", "UTC", 1); };
    for (const char* name : {"zip", "zip-wide", "bsdtar", "bsdtar-stored", "bsdtar-wide"}) {
        const std::string path = std::string(DITTO_ARCHIVES) + name + ".zip";
        EXPECT_EQ(runDitto({"-xk", path, work_ + '/' + name}, inUtc).errors, "");
        EXPECT_TRUE(test::describeTree(work_ + '/' + name) == (Lines{link, file, inner, folder}))
            << name;
    }
    for (const char* name : {"python", "python-streamed"}) {
        const std::string path = std::string(DITTO_ARCHIVES) + name + ".zip";
        EXPECT_EQ(runDitto({"-xk", path, work_ + '/' + name}, inUtc).errors, "");
        EXPECT_TRUE(test::describeTree(work_ + '/' + name) == (Lines{file, inner, folder, wide}))
            << name;
    }
    EXPECT_EQ(runDitto({"-xk", DITTO_ARCHIVES "zip-streamed.zip", dest_}).errors, "");
    EXPECT_EQ(readFile(dest_ + "/one.txt"), "one\n");
    EXPECT_EQ(readFile(dest_ + "/sub/long"), std::string(3000, 'z'));
}

TEST_F(DittoUnpack, AnEntryPackedFromAPipeIsAFile) {
    for (const char* name : {"zip-pipe", "zip-pipe-streamed"}) {
        const std::string path = std::string(DITTO_ARCHIVES) + name + ".zip";
        EXPECT_EQ(runDitto({"-xk", path, work_ + '/' + name}).errors, "");
        EXPECT_TRUE(fs::is_regular_file(work_ + '/' + name + "/-"));
        EXPECT_EQ(readFile(work_ + '/' + name + "/-"), std::string(3000, 'z'));
        EXPECT_EQ(modeOf(work_ + '/' + name + "/-"), 0600U);
    }
}

TEST_F(DittoUnpack, NamesThatDifferInCaseAreDistinctIfTheFileSystemSaysSo) {
    EXPECT_EQ(unpack(buildZip({zipFile("a", "1"), zipFile("A", "2")})).status, 0);
    EXPECT_EQ(readFile(dest_ + "/a"), "1");
    EXPECT_EQ(readFile(dest_ + "/A"), "2");
}

TEST_F(DittoUnpack, AFolderThatCannotBeMadeIsNamed) {
    const std::string path = archive(buildZip({zipFile("a")}));
    const DittoResult result = runDitto({"-xk", path, "/proc/made/dest"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("“/proc/made” couldn’t be made"), std::string::npos)
        << result.errors;
}

// From the number that the loader needs up to one that is sufficient.
TEST_F(DittoUnpack, WithoutEnoughDescriptorsNothingIsLeft) {
    const std::string path = archive(
        buildZip({zipFolder("d/", 0555), zipFile("d/e/f"), zipFile("g"), zipLink("l", "g")}));
    folder_.writeFile("work/old/old", "old");
    const auto before = test::describeTree(work_ + "/old");
    for (const char* name : {"/p/dest", "/old"}) {
        int failures = 0;
        for (unsigned count = 4;; ++count) {
            ASSERT_LT(count, 40U);
            const DittoResult result =
                runDitto({"-xk", path, work_ + name}, test::withDescriptors(count));
            if (result.status == 0) break;
            ++failures;
            EXPECT_NE(result.errors.find("Too many open files"), std::string::npos)
                << count << result.errors;
            EXPECT_EQ(result.errors.find("left behind"), std::string::npos) << result.errors;
            ASSERT_EQ(itemsLeft(), 1U) << count << result.errors;
            ASSERT_EQ(test::describeTree(work_ + "/old"), before) << count << result.errors;
        }
        EXPECT_GT(failures, 5);
        const platform::posix::Descriptor made(
            ::open((work_ + "/p").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (made) {
            EXPECT_EQ(platform::posix::emptyFolder(made.get()), 0);
        }
        fs::remove(work_ + "/p");
    }
}

// As on a file system whose rename always replaces and that lacks hard links.
void withReplacingRenamesOnly() {
    std::array<sock_filter, 6> rules = {
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_linkat, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {rules.size(), rules.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(77);
}

TEST_F(DittoUnpack, RenamesThatCanOnlyReplaceAreEnough) {
    const std::string path =
        archive(buildZip({zipFile("file"), zipFile("d/inside"), zipLink("link", "file")}));
    for (const char* name : {"/new", "/old"}) {
        folder_.writeFile("work/old/kept", "kept");
        const DittoResult result = runDitto({"-xk", path, work_ + name}, &withReplacingRenamesOnly);
        if (result.status == 77) GTEST_SKIP() << "system calls cannot be filtered here";
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(readFile(work_ + name + "/file"), "content");
        EXPECT_EQ(readFile(work_ + name + "/d/inside"), "content");
        EXPECT_TRUE(fs::is_symlink(work_ + name + "/link"));
    }
    EXPECT_EQ(readFile(work_ + "/old/kept"), "kept");
    // An existing item is left unchanged even so.
    EXPECT_EQ(runDitto({"-xk", path, work_ + "/old"}, &withReplacingRenamesOnly).status, 1);
}

TEST_F(DittoUnpack, ContinuesWithoutAReaderOfItsMessages) {
    const std::string path = archive(buildZip(manyFiles()));
    const auto closedPipe = [] {
        std::array<int, 2> ends = {};
        if (::pipe(ends.data()) != 0) ::_exit(77);
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
    };
    EXPECT_EQ(runDitto({"-xkV", path, dest_}, closedPipe).status, 0);
    EXPECT_EQ(readFile(dest_ + "/d/1" + std::string(50, 'n')), "content");
}

TEST_F(DittoUnpack, HelpWithoutAStandardOutputIsAFailure) {
    EXPECT_EQ(runDitto({"--help"}, [] { ::close(1); }).status, 1);
    EXPECT_EQ(runDitto({"--help"}, [] { ::close(0), ::close(1); }).status, 1);
}

}  // namespace
}  // namespace quillmoor::ditto
