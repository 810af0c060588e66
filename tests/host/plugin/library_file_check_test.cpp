#include "host/plugin/library_file_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdint>
#include <cstring>

#include "host/ground/host_error.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::HasSubstr;

constexpr std::size_t kTableEnd = sizeof(ElfW(Ehdr)) + sizeof(ElfW(Phdr));

class SharedObject : public ::testing::Test {
  protected:
    SharedObject() {
        std::memcpy(header_.e_ident, ELFMAG, SELFMAG);
        header_.e_ident[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
        header_.e_phoff = sizeof header_;
        header_.e_phentsize = sizeof segment_;
        header_.e_phnum = 1;
    }
    // A file of `size` bytes: the header, the entry of the only segment, and zeros, as far as they
    // fit.
    std::string errorOfFile(std::size_t size) {
        std::string bytes(reinterpret_cast<const char*>(&header_), sizeof header_);
        bytes.append(reinterpret_cast<const char*>(&segment_), sizeof segment_);
        bytes.resize(size);
        return errorOf(folder_.writeFile("x.so", bytes));
    }
    static std::string errorOf(const std::string& path) {
        try {
            checkIsComplete(path);
        } catch (const HostError& error) {
            return error.what();
        }
        return "";
    }

    test::TempFolder folder_;
    ElfW(Ehdr) header_{};
    ElfW(Phdr) segment_{};
};

TEST_F(SharedObject, MayEndWithItsLastSegment) {
    segment_.p_offset = kTableEnd;
    segment_.p_filesz = 80;
    EXPECT_EQ(errorOfFile(kTableEnd + 80), "");
}

TEST_F(SharedObject, MayNotEndWithinASegment) {
    segment_.p_offset = kTableEnd;
    segment_.p_filesz = 80;
    EXPECT_EQ(errorOfFile(kTableEnd + 79),
              "a part of it ends at byte " + std::to_string(kTableEnd + 80) +
                  ", the file at byte " + std::to_string(kTableEnd + 79));
}

TEST_F(SharedObject, MayNotEndWithinItsTableOfSegments) {
    EXPECT_THAT(errorOfFile(kTableEnd - 1),
                HasSubstr("ends at byte " + std::to_string(kTableEnd) + ","));
}

TEST_F(SharedObject, MayNotHaveASegmentThatEndsBeyondAllNumbers) {
    segment_.p_offset = static_cast<decltype(segment_.p_offset)>(-2);
    segment_.p_filesz = 80;
    EXPECT_THAT(errorOfFile(4096), HasSubstr("a part of it ends at byte "));
    header_.e_phoff = static_cast<decltype(header_.e_phoff)>(-2);
    EXPECT_THAT(errorOfFile(4096), HasSubstr("a part of it ends at byte "));
}

TEST_F(SharedObject, MayHaveNoSegmentForTheLoaderToRefuse) {
    header_.e_phnum = 0;
    EXPECT_EQ(errorOfFile(sizeof header_), "");
}

// The loader refuses each of these before it maps anything.
TEST_F(SharedObject, OfAnotherKindIsLeftToTheLoader) {
    segment_.p_filesz = 100000;
    const auto whole = header_;
    header_.e_ident[0] = 'x';
    EXPECT_EQ(errorOfFile(kTableEnd), "");
    header_ = whole;
    header_.e_ident[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS32 : ELFCLASS64;
    EXPECT_EQ(errorOfFile(kTableEnd), "");
    header_ = whole;
    ++header_.e_phentsize;
    EXPECT_EQ(errorOfFile(kTableEnd), "");
    header_ = whole;
    EXPECT_NE(errorOfFile(kTableEnd), "");
    EXPECT_EQ(errorOfFile(10), "");
}

TEST_F(SharedObject, ThatCannotBeReadGivesTheSystemsText) {
    EXPECT_EQ(errorOf(folder_ / "none"), "No such file or directory");
}

}  // namespace
}  // namespace quillmoor::host
