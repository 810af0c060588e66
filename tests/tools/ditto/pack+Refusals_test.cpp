// Sources that are refused or packed with a warning, and the state after a failure.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/tools/ditto/libarchive_peer.h"
#include "tests/tools/ditto/pack_fixture.h"
#include "tools/ditto/pack.h"

namespace quillmoor::ditto {
namespace {

using test::readWithPeer;

TEST_F(DittoPack, AnExistingArchiveIsReplacedOnlyByACompleteOne) {
    folder_.writeFile("out/a.zip", "old");
    folder_.writeFile("src/file");
    ASSERT_EQ(::mkfifo((folder_ / "src/pipe").c_str(), 0600), 0);
    const DittoResult result = runDitto({"-ck", folder_ / "src", zip_});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("“pipe” is neither"), std::string::npos) << result.errors;
    EXPECT_EQ(readFile(zip_), "old");
    fs::remove(folder_ / "src/pipe");
    EXPECT_EQ(runDitto({"-ck", folder_ / "src", zip_}).status, 0);
    EXPECT_EQ(readWithPeer(zip_).size(), 1U);
    EXPECT_EQ(itemsIn(out_), 1U);
}

TEST_F(DittoPack, SourcesThatCannotBePackedAreErrors) {
    const std::string file = folder_.writeFile("file", "content");
    EXPECT_EQ(runDitto({"-ck", folder_ / "missing", zip_}).status, 1);
    EXPECT_EQ(runDitto({"-ck", file, file}).status, 1);
    EXPECT_EQ(readFile(file), "content");
    EXPECT_EQ(runDitto({"-ck", file, out_}).status, 1);
    EXPECT_EQ(runDitto({"-ck", file, folder_ / "no/such/a.zip"}).status, 1);
    EXPECT_EQ(runDitto({"-ck", "/dev/null", zip_}).status, 1);
    EXPECT_EQ(runDitto({"-ck"}).status, 1);
    EXPECT_EQ(runDitto({"-ck", "--keepParent"}).status, 1);
    EXPECT_EQ(itemsIn(out_), 0U);
}

TEST_F(DittoPack, AnArchiveBeyondTheProcessLimitLeavesNothing) {
    folder_.writeFile("src/noise", noise(3U << 20U));
    const auto limit = [] {
        const rlimit most = {1U << 20U, 1U << 20U};
        ::setrlimit(RLIMIT_FSIZE, &most);
    };
    const DittoResult result = runDitto({"-ck", folder_ / "src", zip_}, limit);
    EXPECT_EQ(result.status, 1) << result.signal;
    EXPECT_NE(result.errors.find("File too large"), std::string::npos) << result.errors;
    EXPECT_EQ(itemsIn(out_), 0U);
}

TEST_F(DittoPack, ASignalLeavesTheOldArchive) {
    folder_.writeFile("out/a.zip", "old");
    for (int i = 0; i < 200; ++i)
        folder_.writeFile("src/" + std::to_string(i) + std::string(50, 'n'), "x");
    const DittoResult result = test::interruptDitto({"-ck", folder_ / "src", zip_}, SIGTERM);
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_EQ(readFile(zip_), "old");
    EXPECT_EQ(itemsIn(out_), 1U);
}

TEST_F(DittoPack, WarnsOnceOfLinksThatUnpackingRefuses) {
    folder_.writeFile("src/d/file");
    folder_.makeLink("src/d/fine", "../d/./file");
    folder_.makeLink("src/m", "../outside");
    folder_.makeLink("src/d/first\n", "/etc/passwd");
    folder_.makeLink("src/z", "/");
    const DittoResult packed = runDitto({"-ck", folder_ / "src", zip_});
    EXPECT_EQ(packed.status, 0);
    EXPECT_EQ(packed.errors,
              "ditto: warning: “d/first\\x0a” is a link to an absolute path; ditto will not unpack "
              "this archive\n");
    EXPECT_EQ(readWithPeer(zip_).size(), 6U);
    const DittoResult refused = runDitto({"-xk", zip_, folder_ / "back"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.errors.find("“d/first\\x0a”: it is a link to an absolute path"),
              std::string::npos)
        << refused.errors;
}

TEST_F(DittoPack, WhereALinkLeadsDependsOnTheArchivesTop) {
    folder_.writeFile("src/file");
    folder_.makeLink("src/link", "../src/file");
    const DittoResult out = runDitto({"-ck", folder_ / "src", zip_});
    EXPECT_NE(out.errors.find("warning: “link” is a link that leads out"), std::string::npos)
        << out.errors;
    EXPECT_EQ(runDitto({"-ck", "--keepParent", folder_ / "src", zip_}).errors, "");
    EXPECT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 0);
}

TEST_F(DittoPack, WarnsOfALinkThroughAFile) {
    folder_.writeFile("src/file");
    folder_.makeLink("src/link", "file/../file");
    const DittoResult result = runDitto({"-ck", folder_ / "src", zip_});
    EXPECT_NE(
        result.errors.find("warning: “link” is a link that climbs out of something that is not"),
        std::string::npos)
        << result.errors;
    EXPECT_EQ(runDitto({"-xk", zip_, folder_ / "back"}).status, 1);
}

TEST_F(DittoPack, ATreeThatCanBeUnpackedIsPackedWithoutAWarning) {
    EXPECT_EQ(runDitto({"-ck", makeBundle(), zip_}).errors, "");
}

TEST_F(DittoPack, AnItemThatChangesItsKindMeanwhileIsAnError) {
    for (int i = 0; i < 200; ++i)
        folder_.writeFile("src/" + std::to_string(i) + std::string(50, 'n'), "x");
    const std::string item = folder_ / "src/z";
    const auto packWhile = [&](const std::function<void()>& change) {
        return test::pauseDitto({"-ck", folder_ / "src", zip_}, [&](pid_t) { change(); });
    };
    const auto expectFailure = [&](const DittoResult& result, const char* why) {
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.errors.find(why), std::string::npos) << result.errors;
        EXPECT_EQ(itemsIn(out_), 0U);
        fs::remove_all(item);
    };
    folder_.makeFolder("src/z");
    expectFailure(packWhile([&] { fs::remove(item), folder_.writeFile("src/z", "lost"); }),
                  "“z” was replaced while it was packed");
    folder_.makeFolder("src/z");
    expectFailure(packWhile([&] { fs::remove(item), folder_.makeLink("src/z", "/etc"); }),
                  "“z” was replaced while it was packed");
    folder_.makeLink("src/z", "x");
    expectFailure(packWhile([&] { fs::remove(item), folder_.makeFolder("src/z"); }),
                  "“z” was replaced while it was packed");
    folder_.writeFile("src/z", "x");
    expectFailure(packWhile([&] { fs::remove(item), folder_.makeLink("src/z", "/etc/passwd"); }),
                  "“z” couldn’t be opened");
    folder_.writeFile("src/z", "x");
    expectFailure(packWhile([&] { fs::remove(item), ::mkfifo(item.c_str(), 0600); }),
                  "“z” is no longer a file");
    // Nor are links followed that have replaced a folder on the way.
    folder_.writeFile("src/z/file", "x");
    expectFailure(packWhile([&] { fs::remove_all(item), folder_.makeLink("src/z", "/etc"); }),
                  "“z” was replaced while it was packed");
}

TEST_F(DittoPack, WithoutEnoughDescriptorsTheOldArchiveStays) {
    folder_.writeFile("out/a.zip", "old");
    folder_.writeFile("src/d/e/file", "content");
    folder_.makeLink("src/link", "d");
    int failures = 0;
    bool done = false;
    for (unsigned count = 4; count < 40 && !done; ++count) {
        const DittoResult result =
            runDitto({"-ck", folder_ / "src", zip_}, test::withDescriptors(count));
        done = result.status == 0;
        EXPECT_EQ(itemsIn(out_), 1U) << count;
        if (done) continue;
        ++failures;
        EXPECT_NE(result.errors.find("Too many open files"), std::string::npos)
            << count << result.errors;
        EXPECT_EQ(readFile(zip_), "old");
    }
    EXPECT_TRUE(done);
    EXPECT_GT(failures, 1);
}

using UserDittoPack = DittoPack;

TEST_F(UserDittoPack, AnUnreadableFileLeavesNoArchive) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may read everything";
    folder_.writeFile("src/a", "a");
    const std::string closed = folder_.writeFile("src/closed", "b");
    ASSERT_EQ(::chmod(closed.c_str(), 0), 0);
    const DittoResult result = runDitto({"-ck", folder_ / "src", zip_});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("“closed” couldn’t be opened: Permission denied"),
              std::string::npos)
        << result.errors;
    EXPECT_EQ(itemsIn(out_), 0U);
}

}  // namespace
}  // namespace quillmoor::ditto
