#include "quillmoor/platform/posix/fs/directory_posix.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

using testing::ElementsAre;
using testing::Pair;

class Directory : public testing::Test {
  protected:
    Descriptor open(const std::string& path) const {
        return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    }
    static std::map<std::string, mode_t> entries(DirectoryReader& reader) {
        std::map<std::string, mode_t> result;
        while (const dirent* const entry = reader.next()) result[entry->d_name] = typeOf(*entry);
        return result;
    }
    test::TempFolder folder_;
};

TEST_F(Directory, ReturnsEachEntryWithItsTypeAndNoDots) {
    folder_.writeFile(".hidden");
    folder_.writeFile("..two");
    folder_.makeFolder("folder");
    folder_.makeLink("link", "nowhere");
    DirectoryReader reader(open(folder_.path()));
    EXPECT_THAT(entries(reader), ElementsAre(Pair("..two", S_IFREG), Pair(".hidden", S_IFREG),
                                             Pair("folder", S_IFDIR), Pair("link", S_IFLNK)));
    EXPECT_EQ(reader.error(), 0);
    EXPECT_EQ(reader.next(), nullptr) << "the end is the end";
}

TEST_F(Directory, IsReadAgainFromItsStart) {
    folder_.writeFile("file");
    DirectoryReader reader(open(folder_.path()));
    EXPECT_EQ(entries(reader).size(), 1U);
    reader.rewind();
    EXPECT_EQ(entries(reader).size(), 1U);
}

TEST_F(Directory, StaysOpenAsLongAsItsReader) {
    Descriptor opened = open(folder_.path());
    const int number = opened.get();
    {
        const DirectoryReader reader(std::move(opened));
        EXPECT_EQ(reader.folder(), number);
        EXPECT_GE(::fcntl(number, F_GETFD), 0);
    }
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST_F(Directory, ReportsAnItemThatIsNotAFolderAndClosesIt) {
    Descriptor opened = open(folder_.writeFile("file"));
    const int number = opened.get();
    DirectoryReader reader(std::move(opened));
    EXPECT_EQ(reader.error(), ENOTDIR);
    EXPECT_EQ(reader.next(), nullptr);
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
    DirectoryReader invalid{Descriptor()};
    EXPECT_EQ(invalid.error(), EBADF);
}

TEST_F(Directory, AnErrorEndsTheReadingAndIsKept) {
    folder_.writeFile("file");
    SystemCalls calls = systemCalls();
    calls.readdir = [](DIR*) -> dirent* {
        errno = EIO;
        return nullptr;
    };
    DirectoryReader reader(open(folder_.path()));
    const SystemCalls* const before = exchangeSystemCalls(&calls);
    EXPECT_EQ(reader.next(), nullptr);
    exchangeSystemCalls(before);
    EXPECT_EQ(reader.error(), EIO);
    EXPECT_EQ(reader.next(), nullptr) << "nothing is read after an error";
}

}  // namespace
}  // namespace quillmoor::platform::posix
